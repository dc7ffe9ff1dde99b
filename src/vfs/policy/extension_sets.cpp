#include "vfs/policy/extension_sets.h"

#include <algorithm>
#include <array>
#include <span>

#include "common/text.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

using Names = std::string_view;

// Each table is sorted, which the compiler checks below.

constexpr auto kText = std::to_array<Names>({"1",           "3",
                                             "ac",          "ada",
                                             "adb",         "adoc",
                                             "ads",         "am",
                                             "applescript", "asciidoc",
                                             "asm",         "asp",
                                             "aspx",        "astro",
                                             "awk",         "bas",
                                             "bash",        "bat",
                                             "bazel",       "bazelrc",
                                             "bib",         "bzl",
                                             "c",           "c++",
                                             "cc",          "cfg",
                                             "cjs",         "clang-format",
                                             "clang-tidy",  "clj",
                                             "cljc",        "cljs",
                                             "cls",         "cmake",
                                             "cmd",         "cnf",
                                             "coffee",      "conf",
                                             "config",      "cpp",
                                             "cppm",        "cs",
                                             "csh",         "cshtml",
                                             "csproj",      "css",
                                             "csv",         "ctl",
                                             "cts",         "cu",
                                             "cuh",         "cxx",
                                             "d",           "dart",
                                             "def",         "diff",
                                             "dockerfile",  "dockerignore",
                                             "dot",         "dtd",
                                             "dts",         "editorconfig",
                                             "el",          "elm",
                                             "env",         "erb",
                                             "erl",         "eslintrc",
                                             "ex",          "exs",
                                             "f",           "f03",
                                             "f90",         "f95",
                                             "fish",        "for",
                                             "frag",        "fs",
                                             "fsi",         "fsproj",
                                             "fsx",         "gemspec",
                                             "geojson",     "gitattributes",
                                             "gitignore",   "gitmodules",
                                             "glsl",        "go",
                                             "gql",         "gradle",
                                             "graphql",     "groovy",
                                             "gv",          "h",
                                             "h++",         "hbs",
                                             "hcl",         "hh",
                                             "hlsl",        "hpp",
                                             "hrl",         "hs",
                                             "htm",         "html",
                                             "hxx",         "i",
                                             "idl",         "in",
                                             "inc",         "inf",
                                             "ini",         "inl",
                                             "ino",         "ipp",
                                             "ipynb",       "iss",
                                             "ixx",         "java",
                                             "jinja",       "jl",
                                             "js",          "jsm",
                                             "json",        "json5",
                                             "jsonc",       "jsonl",
                                             "jsp",         "jsx",
                                             "ksh",         "kt",
                                             "kts",         "l",
                                             "latex",       "ld",
                                             "less",        "lhs",
                                             "lisp",        "ll",
                                             "lock",        "lsp",
                                             "lua",         "m",
                                             "m4",          "mak",
                                             "make",        "markdown",
                                             "md",          "mdx",
                                             "mjs",         "mk",
                                             "ml",          "mli",
                                             "mm",          "mod",
                                             "mts",         "mustache",
                                             "natvis",      "nim",
                                             "nix",         "npmrc",
                                             "nsi",         "org",
                                             "pas",         "patch",
                                             "pc",          "php",
                                             "pl",          "plist",
                                             "pm",          "po",
                                             "pod",         "pot",
                                             "prettierrc",  "pro",
                                             "prolog",      "properties",
                                             "props",       "proto",
                                             "ps1",         "psd1",
                                             "psm1",        "pug",
                                             "py",          "pyi",
                                             "pyx",         "qml",
                                             "r",           "rake",
                                             "rb",          "rc",
                                             "reg",         "resx",
                                             "rkt",         "rmd",
                                             "rs",          "rst",
                                             "rtf",         "s",
                                             "sass",        "sbt",
                                             "scala",       "scm",
                                             "scss",        "sed",
                                             "service",     "sh",
                                             "sln",         "slnx",
                                             "sql",         "srt",
                                             "sty",         "styl",
                                             "sum",         "sv",
                                             "svelte",      "svg",
                                             "svh",         "swift",
                                             "t",           "targets",
                                             "tcl",         "tex",
                                             "texi",        "text",
                                             "tf",          "tfvars",
                                             "thrift",      "toml",
                                             "tpl",         "ts",
                                             "tsv",         "tsx",
                                             "twig",        "txt",
                                             "ui",          "v",
                                             "vala",        "vb",
                                             "vbproj",      "vbs",
                                             "vcxproj",     "vert",
                                             "vhd",         "vhdl",
                                             "vim",         "vue",
                                             "wat",         "wgsl",
                                             "x",           "xaml",
                                             "xhtml",       "xml",
                                             "xsd",         "xsl",
                                             "xslt",        "y",
                                             "yaml",        "yml",
                                             "zig",         "zsh"});

constexpr auto kPlainNames = std::to_array<Names>(
    {"authors",   "brewfile",    "bsdmakefile", "build",         "buildroot",    "changelog",
     "changes",   "codeowners",  "configure",   "containerfile", "contributors", "copying",
     "copyright", "dockerfile",  "doxyfile",    "gemfile",       "gnumakefile",  "history",
     "install",   "jenkinsfile", "justfile",    "kbuild",        "kconfig",      "licence",
     "license",   "maintainers", "makefile",    "news",          "notice",       "pipfile",
     "podfile",   "procfile",    "rakefile",    "readme",        "sconscript",   "sconstruct",
     "thanks",    "todo",        "vagrantfile", "version",       "workspace"});

constexpr auto kImages = std::to_array<Names>({"avif", "bmp", "cur", "gif", "heic", "ico", "jpeg",
                                               "jpg", "png", "tga", "tif", "tiff", "webp"});

constexpr auto kBulk = std::to_array<Names>(
    {"3gp",         "7z",      "a",    "aac",   "accdb",  "aif",    "aiff",    "apk",     "app",
     "ar",          "avi",     "bin",  "blend", "br",     "bsc",    "bz2",     "cab",     "class",
     "com",         "core",    "cpio", "crate", "db",     "db-shm", "db-wal",  "db3",     "dcu",
     "deb",         "dll",     "dmg",  "dmp",   "drv",    "dylib",  "ear",     "egg",     "elf",
     "eot",         "etl",     "evtx", "exe",   "exp",    "fbx",    "flac",    "flv",     "frm",
     "gch",         "gem",     "gguf", "gz",    "hdf5",   "hi",     "hprof",   "idb",     "ifc",
     "ilk",         "img",     "iobj", "ipch",  "ipdb",   "iso",    "jar",     "ko",      "ldb",
     "ldf",         "lib",     "lo",   "log",   "lz",     "lz4",    "lzma",    "m2ts",    "m4a",
     "m4v",         "mdb",     "mdf",  "mid",   "midi",   "mkv",    "mov",     "mp2",     "mp3",
     "mp4",         "mpeg",    "mpg",  "msi",   "msix",   "msm",    "ncb",     "ndf",     "nupkg",
     "o",           "obj",     "ocx",  "ogg",   "ogv",    "onnx",   "opensdf", "opus",    "otf",
     "out",         "parquet", "pch",  "pcm",   "pdb",    "pgc",    "pkg",     "pkl",     "psd",
     "pth",         "pyc",     "pyd",  "pyo",   "rar",    "res",    "rlib",    "rmeta",   "rpm",
     "safetensors", "sbr",     "sdf",  "snap",  "snupkg", "so",     "sqlite",  "sqlite3", "suo",
     "swf",         "swp",     "sys",  "tar",   "tbz2",   "tgz",    "tlb",     "tlog",    "tmp",
     "trace",       "ttf",     "txz",  "vcd",   "vdi",    "vhdx",   "vmdk",    "vob",     "war",
     "wasm",        "wav",     "webm", "whl",   "wma",    "wmv",    "woff",    "woff2",   "xz",
     "z",           "zip",     "zst"});

template <std::size_t Count>
constexpr bool IsSortedSet(const std::array<Names, Count>& names) {
  return std::ranges::adjacent_find(names, std::ranges::greater_equal{}) == names.end();
}

constexpr bool Disjoint(std::span<const Names> a, std::span<const Names> b) {
  return std::ranges::none_of(a, [b](Names name) { return std::ranges::binary_search(b, name); });
}

static_assert(IsSortedSet(kText));
static_assert(IsSortedSet(kPlainNames));
static_assert(IsSortedSet(kImages));
static_assert(IsSortedSet(kBulk));
static_assert(Disjoint(kText, kBulk) && Disjoint(kText, kImages) && Disjoint(kImages, kBulk));

bool Has(std::span<const Names> names, Names name) {
  return std::ranges::binary_search(names, name);
}

}  // namespace

std::string ExtensionOf(std::string_view path) {
  const std::string_view base = BaseName(path);
  const std::size_t dot = base.rfind('.');
  return dot == std::string_view::npos ? std::string() : LowerAscii(base.substr(dot + 1));
}

bool InIncludeSet(std::string_view path, std::uint64_t bytes) {
  const std::string extension = ExtensionOf(path);
  if (extension.empty()) return Has(kPlainNames, LowerAscii(BaseName(path)));
  return Has(kText, extension) || (Has(kImages, extension) && bytes < kSmallImageBytes);
}

bool InExcludeSet(std::string_view path, std::uint64_t bytes) {
  const std::string extension = ExtensionOf(path);
  return Has(kBulk, extension) || (Has(kImages, extension) && bytes >= kSmallImageBytes);
}

}  // namespace mrb::vfs
