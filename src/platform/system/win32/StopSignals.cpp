#include <thread>

#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// How long a process that is ended from outside is given; the system does not wait longer either.
constexpr DWORD kLastMilliseconds = 20'000;

BOOL WINAPI OnControl(DWORD kind) {
  SetEvent(StopEvent());
  // As soon as this returns the process is gone when its console, its user or the system ends.
  if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) Sleep(kLastMilliseconds);
  return TRUE;
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_ENDSESSION:
      if (first == 0) return 0;
      SetEvent(StopEvent());
      // As soon as this returns the process may be ended.
      WaitForSingleObject(reinterpret_cast<HANDLE>(GetWindowLongPtrW(window, GWLP_USERDATA)), kLastMilliseconds);
      return 0;
    case WM_CLOSE:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, first, second);
  }
}

/// A window that nobody sees: the end of a session is told to processes without a console by a message.
class SessionWindow {
 public:
  SessionWindow() : thread_([this] { Run(); }) { WaitForSingleObject(AsHandle(created_), INFINITE); }
  ~SessionWindow() {
    SetEvent(AsHandle(ended_));
    if (window_ != nullptr) PostMessageW(window_, WM_CLOSE, 0, 0);
    thread_.join();
  }
  SessionWindow(const SessionWindow&) = delete;
  SessionWindow& operator=(const SessionWindow&) = delete;
  SessionWindow(SessionWindow&&) = delete;
  SessionWindow& operator=(SessionWindow&&) = delete;

 private:
  void Run() {
    const HINSTANCE program = GetModuleHandleW(nullptr);
    WNDCLASSW kind{};
    kind.lpfnWndProc = OnMessage;
    kind.hInstance = program;
    kind.lpszClassName = L"odbc-data-server-session";
    RegisterClassW(&kind);
    // Of the top level: others are not told.
    window_ =
        CreateWindowExW(0, kind.lpszClassName, L"", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, program, nullptr);
    if (window_ != nullptr) SetWindowLongPtrW(window_, GWLP_USERDATA, ended_.Get());
    SetEvent(AsHandle(created_));
    MSG message{};
    while (window_ != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    if (window_ != nullptr) DestroyWindow(window_);
    UnregisterClassW(kind.lpszClassName, program);
  }

  FileHandle created_{OwnHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr))};
  FileHandle ended_{OwnHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr))};
  HWND window_ = nullptr;
  std::thread thread_;
};

}  // namespace

HANDLE StopEvent() {
  // By its name others ask a process to stop that has no console, where no signal reaches it.
  static const FileHandle event = OwnHandle(
      CreateEventW(nullptr, TRUE, FALSE, (L"odbc-data-server-stop-" + std::to_wstring(GetCurrentProcessId())).c_str()));
  return event ? AsHandle(event) : nullptr;
}

struct StopSignals::Implementation {
  SessionWindow session;
};

StopSignals::StopSignals() {
  if (StopEvent() == nullptr) RaiseSystemError("Unable to watch for stop signals", LastSystemError());
  implementation_ = std::make_unique<Implementation>();
  // A process that was started to ignore Ctrl+C hands that on to its children.
  SetConsoleCtrlHandler(nullptr, FALSE);
  SetConsoleCtrlHandler(OnControl, TRUE);
}

StopSignals::~StopSignals() = default;  // a repeated request must not end the process that is on its way out

bool StopSignals::Requested() { return WaitForSingleObject(StopEvent(), 0) == WAIT_OBJECT_0; }

}  // namespace ods
