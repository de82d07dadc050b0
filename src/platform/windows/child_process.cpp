#include "platform/child_process.h"

#include <algorithm>
#include <array>
#include <thread>

#include "platform/system_error.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

using std::chrono::milliseconds, std::chrono::steady_clock;

/// Anonymous pipes cannot be waited for together with a process.
constexpr milliseconds lookAgain{10};

/// How abort() of the C library ends a program, and where exceptions of the NTSTATUS kind begin.
constexpr DWORD abortStatus = 3, firstException = 0xC0000000;

struct Pipe {
  Handle read, write;
};

bool open(Pipe& made) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE read = nullptr, write = nullptr;
  if (!CreatePipe(&read, &write, &inherited, 0)) return false;
  made = {Handle(read), Handle(write)};
  return SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0) != 0;
}

/// As CommandLineToArgvW takes words apart: backslashes count only in front of a quotation mark.
void appendQuoted(std::wstring& line, TextView word) {
  line += line.empty() ? L"\"" : L" \"";
  std::size_t backslashes = 0;
  for (const wchar_t c : toWide(word)) {
    if (c == L'"') line.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    line += c;
  }
  line.append(backslashes, L'\\');
  line += L'"';
}

Text describe(DWORD status) {
  std::array<wchar_t, 32> text{};
  wsprintfW(text.data(), L"ended by exception 0x%08X", status);
  return fromWide(text.data());
}

class WindowsChild final : public ChildProcess {
 public:
  WindowsChild(Handle process, Handle job, Handle output, Handle messages)
      : process_(std::move(process)),
        job_(std::move(job)),
        streams_{{{std::move(output), &output_}, {std::move(messages), &messages_}}} {}

  ~WindowsChild() override {
    if (ended_) return;
    kill();
    WaitForSingleObject(process_.get(), INFINITE);
  }

  bool wait(milliseconds timeout) override {
    const auto end = steady_clock::now() + timeout;
    while (!ended_) {
      const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
      const auto pause = std::clamp(left, milliseconds(0), lookAgain);
      const bool over = WaitForSingleObject(process_.get(), static_cast<DWORD>(pause.count())) == WAIT_OBJECT_0;
      const bool heard = drainAll();
      if (over) return noteEnd(), true;
      if (heard || left <= milliseconds(0)) return false;
    }
    return true;
  }

  void askToEnd() noexcept override { kill(); }
  void kill() noexcept override {
    killed_ = true;
    TerminateProcess(process_.get(), 1);
  }

 private:
  struct Stream {
    Handle file;
    std::string* heard;
  };

  bool drainAll() {
    bool heard = false;
    for (const Stream& stream : streams_) {
      DWORD there = 0, got = 0;
      std::array<char, 16384> block;
      while (PeekNamedPipe(stream.file.get(), nullptr, 0, nullptr, &there, nullptr) && there > 0 &&
             ReadFile(stream.file.get(), block.data(), block.size(), &got, nullptr)) {
        stream.heard->append(block.data(), got);
        heard = true;
      }
    }
    return heard;
  }

  void noteEnd() {
    ended_ = true;
    DWORD status = 0;
    GetExitCodeProcess(process_.get(), &status);
    exitStatus_ = static_cast<int>(status);
    if (killed_)
      crash_ = u"was ended";
    else if (status == abortStatus)
      crash_ = u"aborted";
    else if (status >= firstException)
      crash_ = describe(status);
  }

  Handle process_, job_;
  std::array<Stream, 2> streams_;
  bool ended_ = false, killed_ = false;
};

/// A job that ends its processes when its last handle is closed, so that nothing outlives this program.
Handle jobThatEndsWithUs() {
  Handle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
  return job;
}

/// Names the handles that the child gets, so that a child started at the same time by another thread gets none of them.
class HandleList {
 public:
  explicit HandleList(std::array<HANDLE, 3> handles) : handles_(handles) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    bytes_.resize(size);
    InitializeProcThreadAttributeList(get(), 1, 0, &size);
    UpdateProcThreadAttribute(get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(), sizeof handles_, nullptr,
                              nullptr);
  }
  ~HandleList() { DeleteProcThreadAttributeList(get()); }
  HandleList(const HandleList&) = delete;
  HandleList& operator=(const HandleList&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST get() { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data()); }

 private:
  std::array<HANDLE, 3> handles_;
  std::vector<std::byte> bytes_;
};

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::start(TextView program, const std::vector<Text>& arguments) {
  constexpr TextView couldNotStart = u"Could not start program";
  std::wstring line;
  appendQuoted(line, program);
  for (const Text& argument : arguments) appendQuoted(line, argument);

  Pipe output, messages;
  if (!open(output) || !open(messages)) return failBySystem(couldNotStart);
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const Handle nothing(CreateFileW(L"NUL", GENERIC_READ, shareAll, &inherited, OPEN_EXISTING, 0, nullptr));
  HandleList handles({nothing.get(), output.write.get(), messages.write.get()});
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = nothing.get();
  startup.StartupInfo.hStdOutput = output.write.get();
  startup.StartupInfo.hStdError = messages.write.get();
  startup.lpAttributeList = handles.get();

  constexpr DWORD flags = EXTENDED_STARTUPINFO_PRESENT | CREATE_NO_WINDOW | CREATE_SUSPENDED;
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(nativePath(program).c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr,
                      &startup.StartupInfo, &started))
    return failBySystem(couldNotStart);
  Handle process(started.hProcess);
  const Handle thread(started.hThread);
  Handle job = jobThatEndsWithUs();
  AssignProcessToJobObject(job.get(), process.get());
  ResumeThread(thread.get());
  return std::make_unique<WindowsChild>(std::move(process), std::move(job), std::move(output.read),
                                        std::move(messages.read));
}

}  // namespace tervo::platform
