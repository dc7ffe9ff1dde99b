#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr Field kPath{
    "path", FieldType::kPath, true,
    "Absolute, or relative to the client's folder; for a client outside every enrolled "
    "directory, to the one enrolled last."};
constexpr Field kVersion{"version", FieldType::kWhole, true,
                         "A version number, as vc.log lists them: 1 is the first."};

/// Plain words where they are unmistakable, tags where a path holds a blank or a quote.
Result<std::string> BuildMove(const Arguments& arguments) {
  const std::string& src = arguments.get("src");
  const std::string& dst = arguments.get("dst");
  if ((src + dst).find_first_of(" \t\"'<") == std::string::npos)
    return "fs:move " + src + " " + dst;
  return "fs:move <src>" + src + "</src><dst>" + dst + "</dst>";
}

constexpr Tool kTools[] = {
    {"fs.read",
     "Read a file of an enrolled directory: its current text, from memory. Long files come in "
     "pieces: the last line then says which offset continues. Example: {\"path\":\"src/main.cpp\"}",
     {kPath, kOffsetField},
     "fs:cat %@path%"},
    {"fs.write",
     "Write a whole file in an enrolled directory: a new one becomes version 1, an existing one "
     "gets its next version; what was there stays readable (vc.log, vc.open_version) and can be "
     "brought back (vc.revert). The content replaces the file, so read it first when you mean to "
     "change a part. Folders are made. Refused while another author holds the file's lock. "
     "Example: "
     "{\"path\":\"notes/todo.txt\",\"content\":\"first line\\n\"}",
     {kPath, {"content", FieldType::kText, true, "The whole new text, kept byte for byte."}},
     "fsmk:file <path>%path%</path><content>%content%</content>"},
    {"fs.list",
     "List the folders and files of one folder of the enrolled directory; without a path its top. "
     "Example: {\"path\":\"src\"}",
     {{"path", FieldType::kPath, false, "A folder; absent: the top of the enrolled directory."},
      kOffsetField},
     "fsstat:list[ %@path%]"},
    {"fs.remove",
     "Delete a file. Its history stays and fs.restore brings it back. Example: "
     "{\"path\":\"old.txt\"}",
     {kPath},
     "fs:rm %@path%"},
    {"fs.move",
     "Move or rename a file inside the enrolled directory; its history goes with it. Example: "
     "{\"src\":\"a.txt\",\"dst\":\"docs/a.txt\"}",
     {{"src", FieldType::kPath, true, "The file as it is called now."},
      {"dst", FieldType::kPath, true, "The new path, its name included."}},
     {},
     &BuildMove},
    {"fs.restore",
     "Bring a deleted file back with the bytes it had. Example: {\"path\":\"old.txt\"}",
     {kPath},
     "fs:restore %@path%"},
    {"vc.log",
     "The versions of a file, oldest first: number, author, time, size. Every save of every "
     "program is one. Example: {\"path\":\"src/main.cpp\"}",
     {kPath, kOffsetField},
     "fsvctl:log <path>%path%</path>"},
    {"vc.diff",
     "What changed between two versions of a file; without numbers, between the latest version and "
     "the one before. Example: {\"path\":\"src/main.cpp\",\"a\":3,\"b\":5}",
     {kPath,
      {"a", FieldType::kWhole, false, "The older version's number."},
      {"b", FieldType::kWhole, false, "The newer version's number."},
      kOffsetField},
     "fsvctl:diff <path>%path%</path>[<a>%a%</a>][<b>%b%</b>]"},
    {"vc.revert",
     "Put the bytes of an older version back as a new version; nothing is lost. Example: "
     "{\"path\":\"src/main.cpp\",\"version\":3}",
     {kPath, kVersion},
     "fsvctl:revert <path>%path%</path><version>%version%</version>"},
    {"vc.open_version",
     "Read a file as it was in one version; the file itself stays as it is. Example: "
     "{\"path\":\"src/main.cpp\",\"version\":3}",
     {kPath, kVersion, kOffsetField},
     "fsvctl:open <path>%path%</path><version>%version%</version>"},
    {"stores.list",
     "The enrolled directories (stores) with their policy and size. Start here to learn which "
     "files are versioned.",
     {},
     "fsstat:stores"},
    {"enroll",
     "Put a directory under automatic version control: from then on every save in it is a version. "
     "Takes the whole tree below it; ask the user before enrolling what they did not name. "
     "Example: {\"directory\":\"/home/ann/src/app\"}",
     {{"directory", FieldType::kPath, true, "Absolute, or relative to the client's folder."}},
     "Mirebolt EnrollVersionControl %directory%"},
};

}  // namespace

std::span<const Tool> FileTools() {
  return kTools;
}

}  // namespace mrb::mcp
