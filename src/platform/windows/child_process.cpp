#include "platform/windows/child_process.h"

#include <array>
#include <cstddef>
#include <utility>

#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

// PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE, which older headers do not have.
constexpr DWORD_PTR kPseudoConsoleAttribute = 0x00020016;

/// The list of special properties that a new process is given.
class AttributeList {
 public:
  AttributeList() {
    constexpr DWORD kMax = 2;
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, kMax, 0, &size);
    bytes_.resize(size);
    made_ = ::InitializeProcThreadAttributeList(get(), kMax, 0, &size) != 0;
  }
  AttributeList(const AttributeList&) = delete;
  AttributeList& operator=(const AttributeList&) = delete;
  ~AttributeList() {
    if (made_) ::DeleteProcThreadAttributeList(get());
  }

  /// `value` is used by reference.
  bool add(DWORD_PTR attribute, void* value, std::size_t size) {
    return made_ &&
           ::UpdateProcThreadAttribute(get(), 0, attribute, value, size, nullptr, nullptr) != 0;
  }

  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST get() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data());
  }

 private:
  std::vector<std::byte> bytes_;
  bool made_ = false;
};

/// What the errors name: no arguments, they may be secret.
std::string ProgramOf(const ChildStart& start) {
  const std::wstring_view line = start.program.empty() ? start.command_line : start.program;
  const bool quoted = line.starts_with(L'"');
  const auto end = line.find(quoted ? L'"' : L' ', quoted ? 1 : 0);
  return Narrow(start.program.empty() ? line.substr(quoted ? 1 : 0, quoted ? end - 1 : end) : line);
}

}  // namespace

DWORD NoStreamsFlag() {
  const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
  return ::GetProcAddress(system, "wine_get_version") == nullptr ? STARTF_USESTDHANDLES : 0;
}

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(ChildStart start) {
  Handle job(::CreateJobObjectW(nullptr, nullptr));
  AttributeList attributes;
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.lpAttributeList = attributes.get();
  startup.StartupInfo.hStdInput = start.input;
  startup.StartupInfo.hStdOutput = start.output;
  startup.StartupInfo.hStdError = start.output;
  std::array<HANDLE, 2> inherited{start.input, start.output};
  const bool inherits = start.output != nullptr;
  startup.StartupInfo.dwFlags = inherits ? STARTF_USESTDHANDLES : NoStreamsFlag();
  bool prepared = true;
  if (inherits) {
    prepared = attributes.add(PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                              static_cast<void*>(inherited.data()), sizeof inherited);
  }
  if (start.pseudo_console != nullptr) {
    prepared = prepared && attributes.add(kPseudoConsoleAttribute, start.pseudo_console,
                                          sizeof start.pseudo_console);
  }
  PROCESS_INFORMATION process{};
  if (!prepared ||
      !::CreateProcessW(start.program.empty() ? nullptr : start.program.c_str(),
                        start.command_line.data(), nullptr, nullptr, inherits ? TRUE : FALSE,
                        start.flags | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT, nullptr,
                        start.folder.empty() ? nullptr : start.folder.c_str(), &startup.StartupInfo,
                        &process)) {
    return FailLastError("start", ProgramOf(start));
  }
  const Handle thread(process.hThread);
  Handle child(process.hProcess);
  // It runs only once it is in the job, so that nothing it starts can be outside.
  if (job && !::AssignProcessToJobObject(job.get(), child.get())) job.reset(nullptr);
  ::ResumeThread(thread.get());
  return std::unique_ptr<ChildProcess>(new ChildProcess(std::move(child), std::move(job)));
}

ChildProcess::ChildProcess(Handle process, Handle job)
    : process_(std::move(process)), job_(std::move(job)) {}

DWORD ChildProcess::exit_code() const {
  DWORD code = 0;
  ::GetExitCodeProcess(process_.get(), &code);
  return code;
}

void ChildProcess::end_tree() const {
  if (job_) {
    ::TerminateJobObject(job_.get(), 1);
  } else {
    ::TerminateProcess(process_.get(), 1);
  }
}

}  // namespace mrb::platform
