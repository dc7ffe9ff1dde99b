#include "vfs/policy/policy.h"

#include <gtest/gtest.h>

#include <random>

#include "vfs/model/size_text.h"

namespace mrb::vfs {
namespace {

TEST(SizeTextTest, ReadsWhatPeopleWriteAndWritesWhatItReads) {
  const std::pair<std::string, std::optional<std::uint64_t>> cases[] = {
      {"0", 0},
      {"2048", 2048},
      {"500mb", 500ULL << 20U},
      {"1GB", 1ULL << 30U},
      {"3k", 3072},
      {"16777215t", 16777215ULL << 40U},
      {"16777216t", std::nullopt},
      {"18446744073709551616", std::nullopt},
      {"", std::nullopt},
      {"gb", std::nullopt},
      {"-1", std::nullopt},
      {"1 gb", std::nullopt},
      {"1gbb", std::nullopt},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(ParseSize(text), bytes) << text;
  std::mt19937_64 random(3);
  for (int i = 0; i < 1000; ++i) {
    const std::uint64_t bytes = (random() >> (random() % 64)) << (random() % 4 * 10);
    EXPECT_EQ(ParseSize(FormatSize(bytes)), bytes);
  }
  EXPECT_EQ(RoundedSize(1) + ", " + RoundedSize(1023), "1 byte, 1023 bytes");
  EXPECT_EQ(RoundedSize(1536) + ", " + RoundedSize(230'793'421), "1.5 KB, 220.1 MB");
}

TEST(PolicyTest, EverySpellingIsWrittenInOneForm) {
  const std::string other = "scope=edited ext=only:.c,.tar.gz watch=off max=1gb mode=cachewt";
  const std::pair<std::string, std::string> cases[] = {
      {"", "scope=all ext=none watch=on max=2gb mode=vc"},
      {"scope=edited ext=only:.C,*.c,c,.tar.gz watch=off max=1gb mode=cachewt", other},
      {" SCOPE=Edited\texts=ONLY:c,.tar.gz oob=off maxsize=1024mb cache=cachewt", other},
      {"extensions=only:.c,tar.gz maxbytes=1073741824 watch=off scope=edited mode=CACHEWT", other},
      {"maxreposize=0", "scope=all ext=none watch=on max=0 mode=vc"},
      {"ext=only", "scope=all ext=only watch=on max=2gb mode=vc"},
      {"ext=only:default", "scope=all ext=only watch=on max=2gb mode=vc"},
      {"ext=allbut:.wad,default", "scope=all ext=allbut:default,.wad watch=on max=2gb mode=vc"},
      {"ext=only:.default", "scope=all ext=only:.default watch=on max=2gb mode=vc"},
      {"watch=off watch=on", "scope=all ext=none watch=on max=2gb mode=vc"},
  };
  for (const auto& [flags, written] : cases) {
    const Policy policy = ParsePolicy(flags).value().applied_to({});
    EXPECT_EQ(FormatPolicy(policy), written);
    EXPECT_EQ(ParsePolicy(written).value().applied_to({}), policy);
  }
}

TEST(PolicyTest, AnUpdateTouchesOnlyWhatItNames) {
  const Policy before = ParsePolicy("ext=only:.c max=1mb watch=off").value().applied_to({});
  EXPECT_EQ(FormatPolicy(ParsePolicy("scope=edited").value().applied_to(before)),
            "scope=edited ext=only:.c watch=off max=1mb mode=vc");
  EXPECT_TRUE(ParsePolicy(" \t").value().is_empty());
  EXPECT_FALSE(ParsePolicy("confirm=watchoff").value().is_empty());
  EXPECT_TRUE(ParsePolicy("oob=off confirm=WatchOff").value().confirms_watch_off);
  EXPECT_TRUE(IsPolicyFlag("Max=what") && !IsPolicyFlag("a=b") && !IsPolicyFlag("scope"));
}

TEST(PolicyTest, WhatIsWrongIsNamed) {
  const std::pair<std::string, std::string> cases[] = {
      {"scope=all colour=red", "unknown flag 'colour=red'"},
      {"scope", "unknown flag 'scope'"},
      {"scope=some", "scope is all or edited, not 'some'"},
      {"watch=", "watch is on or off, not ''"},
      {"max=1.5gb", "max is a size such as 500mb or 1gb, 0 for no limit, not '1.5gb'"},
      {"mode=git", "mode is vc or cachewt, not 'git'"},
      {"confirm=yes", "confirm is watchoff, not 'yes'"},
      {"ext=some:.c", "ext is none, only:<.e,..> or allbut:<.e,..>, not 'some:.c'"},
      {"ext=none:.c", "ext is none, only:<.e,..> or allbut:<.e,..>, not 'none:.c'"},
      {"ext=only:.c,,.h", "'' is no extension"},
      {"ext=only:", "'' is no extension"},
      {"ext=only:a/b", "'a/b' is no extension"},
  };
  for (const auto& [flags, text] : cases) {
    const auto change = ParsePolicy(flags);
    EXPECT_EQ(change ? "accepted" : change.error().text, text);
  }
}

TEST(PolicyTest, FiltersByEndingAndBuiltInSet) {
  struct Case {
    std::string ext;
    std::string path;
    bool admitted;
    std::uint64_t bytes = 10;
  };
  const Case cases[] = {
      {"none", "a.exe", true},
      {"only:.c", "dir.h/A.C", true},
      {"only:.c", "dir.c/a", false},
      {"only:.c", "a.cc", false},
      {"only:.gitignore", "x/.gitignore", true},
      {"only:.tar.gz", "a.tar.gz", true},
      {"only:.tar.gz", "a.gz", false},
      {"only", "a.cpp", true},
      {"only", "src/Makefile", true},
      {"only", "a.exe", false},
      {"only", "noname", false},
      {"only", "icon.PNG", true, (1U << 20U) - 1},
      {"only", "photo.png", false, 1U << 20U},
      {"only:default,.wad", "doom.wad", true},
      {"only:default,.png", "photo.png", true, 1U << 20U},
      {"allbut", "a.exe", false},
      {"allbut", "app.log", false},
      {"allbut", "a.unknown", true},
      {"allbut", "noname", true},
      {"allbut", "photo.png", false, 1U << 20U},
      {"allbut:.wad", "a.exe", true},
      {"allbut:default,.wad", "a.exe", false},
      {"allbut:default,.wad", "a.WAD", false},
      {"allbut:default,.wad", "a.c", true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ExtensionFilter::parse(c.ext).value().admits(c.path, c.bytes), c.admitted)
        << c.ext << " " << c.path;
  }
}

}  // namespace
}  // namespace mrb::vfs
