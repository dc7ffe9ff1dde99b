#include "front/client/health_probe.h"

#include <gtest/gtest.h>

namespace mrb::front {
namespace {

TEST(HealthProbeTest, ClassifiesBodiesByTheirTelltales) {
  struct Case {
    const char* body;
    ProbeResult result;
    const char* version;
  };
  const Case cases[] = {
      {R"({"ok":true,"app":"Mirebolt","version":"2.0.0"})", ProbeResult::Current, "2.0.0"},
      {R"({"ok":true,"app":"Mirebolt","version":"1.9.9"})", ProbeResult::OtherVersion, "1.9.9"},
      {R"({"ok":true,"app":"Mirebolt","version":"2.0.0)", ProbeResult::Current, "2.0.0"},
      {R"({"ok":true,"app":"Mirebolt"})", ProbeResult::OtherVersion, ""},
      {R"({"app": "Mirebolt","version":"2.0.0"})", ProbeResult::Foreign, ""},
      {"{}", ProbeResult::Foreign, ""},
      {"", ProbeResult::Foreign, ""},
  };
  for (const Case& c : cases) {
    std::string version = "left over";
    EXPECT_EQ(ClassifyHealth(c.body, version), c.result) << c.body;
    EXPECT_EQ(version, c.version) << c.body;
  }
}

TEST(HealthProbeTest, ComparesVersionsNumberByNumber) {
  struct Case {
    const char* a;
    const char* b;
    int order;
  };
  const Case cases[] = {
      {"2.0.0", "1.9", 1},   {"2.0", "2.0.0", 0}, {"2.0.0", "10.0", -1},
      {"", "", 0},           {"", "0.0", 0},      {"2.0.1", "2.0", 1},
      {"1.x.2", "1..2", -1}, {"2a", "2", 0},      {"99999999999999999999999", "2", 1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CompareVersions(c.a, c.b), c.order) << c.a << " " << c.b;
    EXPECT_EQ(CompareVersions(c.b, c.a), -c.order) << c.b << " " << c.a;
  }
}

}  // namespace
}  // namespace mrb::front
