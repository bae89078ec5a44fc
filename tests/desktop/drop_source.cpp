// Another program of the desktop that drops files on a window, by the protocol that all desktops on
// X11 share: drop_source WINDOW X Y FILE..., with X and Y on the screen. It ends with 0 when the
// window has taken the files, with 3 when it has refused them, and with 2 when no answer has come.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int taken = 0;
constexpr int noAnswer = 2;
constexpr int refused = 3;
constexpr auto patience = std::chrono::seconds(5);
constexpr long protocolVersion = 5;

class DropSource {
 public:
  DropSource(Display* display, Window target, std::string files)
      : display_(display),
        target_(target),
        files_(std::move(files)),
        window_(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)) {}

  int Drop(int x, int y) {
    XSetSelectionOwner(display_, AtomOf("XdndSelection"), window_, CurrentTime);
    const long list = static_cast<long>(AtomOf("text/uri-list"));
    const long copy = static_cast<long>(AtomOf("XdndActionCopy"));
    Send("XdndEnter", {protocolVersion << 24, list, 0, 0});
    Send("XdndPosition", {0, long{x} << 16 | y, CurrentTime, copy});
    const auto status = WaitFor("XdndStatus");
    if (!status) return noAnswer;
    if ((status->data.l[1] & 1) == 0) {
      Send("XdndLeave", {});
      return refused;
    }
    Send("XdndDrop", {0, CurrentTime, 0, 0});
    return WaitFor("XdndFinished") ? taken : noAnswer;
  }

 private:
  Atom AtomOf(const char* name) { return XInternAtom(display_, name, False); }

  void Send(const char* message, const std::array<long, 4>& words) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = target_;
    event.xclient.message_type = AtomOf(message);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(window_);
    for (std::size_t i = 0; i < words.size(); ++i) event.xclient.data.l[i + 1] = words[i];
    XSendEvent(display_, target_, False, NoEventMask, &event);
    XFlush(display_);
  }

  /// Hands the names of the files to whoever asks for them.
  void Answer(const XSelectionRequestEvent& request) {
    XChangeProperty(display_, request.requestor, request.property, request.target, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(files_.data()),
                    static_cast<int>(files_.size()));
    XEvent event{};
    event.xselection.type = SelectionNotify;
    event.xselection.requestor = request.requestor;
    event.xselection.selection = request.selection;
    event.xselection.target = request.target;
    event.xselection.property = request.property;
    XSendEvent(display_, request.requestor, False, NoEventMask, &event);
    XFlush(display_);
  }

  const XClientMessageEvent* WaitFor(const char* message) {
    for (const auto end = Clock::now() + patience; Clock::now() < end;) {
      if (XPending(display_) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        continue;
      }
      XNextEvent(display_, &event_);
      if (event_.type == SelectionRequest) Answer(event_.xselectionrequest);
      if (event_.type == ClientMessage && event_.xclient.message_type == AtomOf(message)) {
        return &event_.xclient;
      }
    }
    return nullptr;
  }

  Display* display_;
  Window target_;
  std::string files_;
  Window window_;
  XEvent event_{};
};

}  // namespace

int main(int argc, char** argv) {
  Display* display = argc > 4 ? XOpenDisplay(nullptr) : nullptr;
  if (display == nullptr) return noAnswer;
  std::string files;
  for (int i = 4; i < argc; ++i) files += std::string("file://") + argv[i] + "\r\n";
  DropSource source(display, std::strtoul(argv[1], nullptr, 0), files);
  const int result = source.Drop(std::atoi(argv[2]), std::atoi(argv[3]));
  XCloseDisplay(display);
  return result;
}
