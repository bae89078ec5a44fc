#include "platform/sdl/x11_clipboard_watch.h"

#include <X11/extensions/Xfixes.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/sdl/xfixes_library.h"

namespace quillmere {

std::unique_ptr<X11ClipboardWatch> X11ClipboardWatch::Create(std::function<void()> changed) {
  std::unique_ptr<X11ClipboardWatch> watch(new X11ClipboardWatch(std::move(changed)));
  if (watch->stop_ < 0 || !watch->AskForNews()) return nullptr;
  auto task = PlatformTask::Create("Quillmere clipboard task", 0,
                                   [self = watch.get()](const std::stop_token&) { self->Run(); });
  if (!task) return nullptr;
  watch->task_ = std::move(*task);
  return watch;
}

X11ClipboardWatch::X11ClipboardWatch(std::function<void()> changed)
    : changed_(std::move(changed)), connection_(ConnectToX11()), stop_(eventfd(0, EFD_CLOEXEC)) {}

X11ClipboardWatch::~X11ClipboardWatch() {
  if (task_) eventfd_write(stop_, 1);
  task_.reset();
  if (stop_ >= 0) close(stop_);
}

bool X11ClipboardWatch::AskForNews() {
  Display* display = connection_.get();
  int firstEvent = 0;
  int firstError = 0;
  if (display == nullptr || !XfixesIsThere() ||
      XFixesQueryExtension(display, &firstEvent, &firstError) == 0) {
    return false;
  }
  XFixesSelectSelectionInput(display, DefaultRootWindow(display),
                             XInternAtom(display, "CLIPBOARD", False),
                             XFixesSetSelectionOwnerNotifyMask);
  XFlush(display);
  return true;
}

void X11ClipboardWatch::Run() {
  pollfd sources[] = {{ConnectionNumber(connection_.get()), POLLIN, 0}, {stop_, POLLIN, 0}};
  for (;;) {
    bool any = false;
    while (XPending(connection_.get()) > 0) {
      XEvent event;
      XNextEvent(connection_.get(), &event);
      any = true;
    }
    if (any) changed_();
    if (poll(sources, 2, -1) < 0) continue;
    if (sources[1].revents != 0 || (sources[0].revents & (POLLHUP | POLLERR)) != 0) return;
  }
}

}  // namespace quillmere
