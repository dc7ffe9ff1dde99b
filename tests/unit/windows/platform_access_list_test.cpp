#include "platform/windows/access_list.h"

#include <gtest/gtest.h>
#include <sddl.h>

#include <string>

namespace mrb::platform {
namespace {

/// `text` is a security descriptor in the system's notation, with "ME" for the user.
FolderState Judge(std::wstring text) {
  for (std::size_t at = 0; (at = text.find(L"ME", at)) != std::wstring::npos;) {
    text.replace(at, 2, OwnSid());
  }
  PSECURITY_DESCRIPTOR security = nullptr;
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                              &security, nullptr)) {
    ADD_FAILURE() << "not understood: " << std::string(text.begin(), text.end());
    return FolderState::kMissing;
  }
  const FolderState state = JudgeSecurity(security);
  ::LocalFree(security);
  return state;
}

TEST(AccessList, OwnerAndWritersDecide) {
  using enum FolderState;
  struct Case {
    const wchar_t* security;
    FolderState state;
  };
  for (const Case& c : {
           // Owners: the user, administrators, the system; a group or another account is not.
           Case{L"O:MED:P(A;OICI;FA;;;ME)(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)", kOwn},
           {L"O:BAD:P(A;;FA;;;ME)", kOwn},
           {L"O:SYD:P", kOwn},
           {L"O:BUD:P(A;;FA;;;ME)", kForeign},
           {L"O:S-1-5-21-1-2-3-1001D:P(A;;FA;;;ME)", kForeign},
           {L"D:P(A;;FA;;;ME)", kForeign},
           // Others may read, or be denied; what owners get is the user's.
           {L"O:MED:(A;OICI;0x1200a9;;;BU)(A;OICI;GRGX;;;WD)", kOwn},
           {L"O:MED:(D;OICI;FA;;;WD)(A;OICIIO;GA;;;CO)(A;;FA;;;S-1-3-4)", kOwn},
           // What a folder made in the machine's shared data folder inherits.
           {L"O:MED:AI(A;OICIID;FA;;;SY)(A;OICIID;FA;;;BA)(A;OICIIOID;GA;;;CO)"
            L"(A;OICIID;0x1200a9;;;BU)(A;CIID;0x116;;;BU)",
            kOpen},
           // Nothing said means everything allowed; what is handed down counts.
           {L"O:ME", kOpen},
           {L"O:MED:(A;OICIIO;GA;;;AU)", kOpen},
           {L"O:MED:(A;;FA;;;S-1-5-21-1-2-3-1001)", kOpen},
       }) {
    const std::wstring text = c.security;
    EXPECT_EQ(Judge(text), c.state) << std::string(text.begin(), text.end());
  }
}

TEST(AccessList, EveryRightThatChangesAFolderCounts) {
  for (const wchar_t* right : {L"0x2", L"0x4", L"0x10", L"0x40", L"0x100", L"0x10000", L"0x40000",
                               L"0x80000", L"0x10000000", L"0x40000000"}) {
    const std::wstring text = std::wstring(L"O:MED:(A;;") + right + L";;;WD)";
    EXPECT_EQ(Judge(text), FolderState::kOpen) << std::string(text.begin(), text.end());
  }
}

TEST(AccessList, NewPrivateFoldersAreForTheUserAlone) {
  const SECURITY_ATTRIBUTES* const made = PrivateFolderSecurity();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(JudgeSecurity(made->lpSecurityDescriptor), FolderState::kOwn);
  wchar_t* text = nullptr;
  ASSERT_TRUE(::ConvertSecurityDescriptorToStringSecurityDescriptorW(
      made->lpSecurityDescriptor, SDDL_REVISION_1,
      OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &text, nullptr));
  const std::wstring me = OwnSid();
  EXPECT_EQ(std::wstring(text),
            L"O:" + me + L"D:P(A;OICI;FA;;;" + me + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)");
  ::LocalFree(text);
}

}  // namespace
}  // namespace mrb::platform
