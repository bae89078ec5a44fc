// A program that opens windows as it is told on its standard input, one command a line, and prints
// each message that a window gets. It shows what the windows of the platform do on a desktop.
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>

#include "platform/platform.h"

namespace quillmere {
namespace {

constexpr const char* messageNames[] = {"close",   "active",  "inactive", "moved", "resized",
                                        "key",     "mouse",   "button",   "wheel", "iconify",
                                        "restore", "refresh", "drop"};

class Probe {
 public:
  explicit Probe(Platform& platform) : platform_(platform) {}

  void Run() {
    const auto reader = PlatformTask::Create("reader", 0, [this](const std::stop_token& stop) {
      for (std::string line; !stop.stop_requested() && std::getline(std::cin, line);) {
        {
          const std::lock_guard guard(lock_);
          commands_.push_back(line);
        }
        platform_.waiting().SignalEvent();
        if (line == "quit") break;
      }
    });
    while (!quit_) {
      const Wake wake = platform_.waiting().WaitForSignals(std::nullopt);
      if (Has(wake, Wake::Break)) Say("break");
      if (Has(wake, Wake::Pulse)) Say("pulse");
      if (Has(wake, Wake::Requester)) PrintAnswer();
      while (auto message = platform_.windows().GetNextWindowMessage()) Print(*message);
      RunCommands();
    }
    pointers_.clear();
    windows_.clear();
  }

 private:
  static void Say(const std::string& text) { std::cout << text << std::endl; }

  void PrintAnswer() {
    const auto answer = platform_.requesters().TakeAnswer();
    if (!answer) return;
    std::cout << "answer " << (answer->cancelled ? "cancelled" : "given") << " " << answer->choice
              << " " << answer->text;
    for (const std::string& path : answer->paths) std::cout << " " << path;
    std::cout << std::endl;
  }

  void Print(const WindowMessage& message) {
    int number = 0;
    for (const auto& [key, window] : windows_) {
      if (window.get() == message.window) number = key;
    }
    std::cout << number << " " << messageNames[static_cast<int>(message.kind)] << " x=" << message.x
              << " y=" << message.y << " pressed=" << message.pressed << " user=" << message.byUser
              << " button=" << static_cast<int>(message.button) << " key=" << message.key
              << " qualifiers=" << std::hex << message.qualifiers << std::dec;
    for (const std::string& path : message.paths) std::cout << " " << path;
    std::cout << std::endl;
    if (message.kind == WindowMessageKind::Close) windows_.erase(number);
  }

  void RunCommands() {
    std::vector<std::string> commands;
    {
      const std::lock_guard guard(lock_);
      commands.swap(commands_);
    }
    for (const std::string& command : commands) Execute(command);
  }

  void Open(std::istringstream& words) {
    WindowOptions options;
    int number = 0;
    words >> number >> options.x >> options.y >> options.width >> options.height;
    options.title = "Probe " + std::to_string(number);
    for (std::string word; words >> word;) {
      if (word == "borderless") options.borderless = true;
      if (word == "sizeable") options.sizeable = true;
      if (word == "inactive") options.active = false;
      if (word == "noclose") options.noClose = true;
      if (word == "nohide") options.noHide = true;
      if (word == "fixed") options.fixed = true;
      if (word == "round") {
        WindowShape shape{options.width, options.height, {}};
        for (int y = 0; y < options.height; ++y) {
          for (int x = 0; x < options.width; ++x) {
            const int dx = 2 * x - options.width;
            const int dy = 2 * y - options.height;
            shape.alpha.push_back(dx * dx + dy * dy < options.width * options.width ? 255 : 0);
          }
        }
        options.shape = std::move(shape);
        options.borderless = true;
      }
    }
    auto window = platform_.windows().OpenPlatformWindow(options);
    if (!window) return Say("failed " + std::to_string(static_cast<int>(window.error())));
    windows_[number] = std::move(*window);
    Say("opened");
  }

  void SetPointer(PlatformWindow& window) {
    const std::vector<std::uint32_t> pixels(16 * 16, 0xFF00FF00);
    auto pointer = platform_.windows().MakePointer({pixels.data(), 16, 16, 16}, 3, 5);
    if (!pointer) return Say("failed");
    window.SetPointer(pointer->get());
    pointers_.push_back(std::move(*pointer));
    Say("pointer set");
  }

  void Grab(std::istringstream& words) {
    Rectangle area;
    words >> area.x >> area.y >> area.width >> area.height;
    const auto picture = platform_.windows().GrabScreen(area);
    if (!picture) return Say("no picture");
    std::cout << "grabbed " << picture->width << "x" << picture->height << std::hex;
    for (const std::uint32_t pixel : picture->pixels) std::cout << " " << (pixel & 0xFFFFFF);
    std::cout << std::dec << std::endl;
  }

  /// Starts a request of the kind that the verb names; the words are its buttons, or its text.
  void Ask(const std::string& verb, std::istringstream& words) {
    RequesterCall call{.title = "Question", .body = "Is it so?"};
    if (verb == "ask") {
      for (std::string button; words >> button;) call.buttons.push_back(button);
    } else if (verb == "asktext") {
      call.kind = RequesterCall::Kind::String;
      words >> call.defaultText;
    } else {
      call.kind = RequesterCall::Kind::File;
      call.pattern = "#?(.png|.jpg)";
      call.multiSelect = true;
      words >> call.defaultText;
    }
    platform_.requesters().Start(std::move(call));
  }

  void Execute(const std::string& command) {
    std::istringstream words(command);
    std::string verb;
    words >> verb;
    if (verb == "open") return Open(words);
    if (verb == "grab") return Grab(words);
    if (verb == "quit") {
      quit_ = true;
      return;
    }
    if (verb == "screen") {
      int width = 0;
      int height = 0;
      words >> width >> height;
      const Status opened = platform_.windows().OpenPlatformScreen(width, height, 32);
      return Say(opened ? "screen open"
                        : "failed " + std::to_string(static_cast<int>(opened.error())));
    }
    if (verb == "desktop") {
      platform_.windows().ClosePlatformScreen();
      return Say("desktop");
    }
    if (verb == "pulse") {
      int milliseconds = 0;
      words >> milliseconds;
      return platform_.waiting().StartPulse(std::chrono::milliseconds(milliseconds));
    }
    if (verb == "paste") return Say("clipboard " + platform_.clipboard().Read()->text);
    if (verb == "copy") {
      std::string text;
      words >> text;
      (void)platform_.clipboard().WriteText(text);
      return Say("copied");
    }
    if (verb == "watch") {
      (void)platform_.clipboard().Watch([] { Say("clipboard changed"); });
      return Say("watching");
    }
    if (verb.starts_with("ask")) return Ask(verb, words);
    if (verb == "pixels") {
      int mode = 0;
      words >> mode;
      platform_.windows().ChoosePixelWriting(mode);
      return Say("done");
    }
    if (verb == "joysticks") return Say(std::to_string(platform_.input().CountJoysticks()));
    ExecuteOnWindow(verb, words);
  }

  void ExecuteOnWindow(const std::string& verb, std::istringstream& words) {
    int number = 0;
    words >> number;
    if (!windows_.contains(number)) return Say("no window");
    PlatformWindow& window = *windows_[number];
    if (verb == "fill") {
      Rectangle area;
      std::uint32_t color = 0;
      words >> area.x >> area.y >> area.width >> area.height >> std::hex >> color;
      window.Fill(area.x, area.y, area.width, area.height, color);
    } else if (verb == "dots") {
      // Single pixels, to see that each of them arrives.
      for (int i = 0; i < 200; ++i) {
        const std::uint32_t pixel = 0xFF0000FF;
        window.Update({&pixel, 1, 1, 1}, 0, 0, i % 20 * 2, i / 20 * 2, 1, 1);
      }
    } else if (verb == "movesize") {
      Rectangle to;
      words >> to.x >> to.y >> to.width >> to.height;
      window.MoveSize(to.x, to.y, to.width, to.height);
    } else if (verb == "geometry") {
      const Rectangle now = window.Geometry();
      const FrameSizes frame = platform_.windows().GetFrameSizes(false);
      std::cout << "geometry " << now.x << " " << now.y << " " << now.width << " " << now.height
                << " frame " << frame.left << " " << frame.top << " " << frame.right << " "
                << frame.bottom << std::endl;
      return;
    } else if (verb == "regions") {
      const Rectangle drag[] = {{0, 0, 100, 15}};
      window.SetRegions(drag, {});
    } else if (verb == "title") {
      std::string title;
      words >> title;
      window.SetTitle(title);
    } else if (verb == "pointer") {
      return SetPointer(window);
    } else if (verb == "showpointer") {
      bool show = true;
      words >> show;
      window.ShowPointer(show);
    } else if (verb == "dropzone") {
      bool on = true;
      words >> on;
      window.SetDropZone(on);
    } else if (verb == "hide") {
      window.Iconify();
    } else if (verb == "show") {
      window.Restore();
    } else if (verb == "back") {
      window.ToBack();
    } else if (verb == "front") {
      window.ToFront();
    } else if (verb == "warp") {
      int x = 0;
      int y = 0;
      words >> x >> y;
      window.MovePointer(x, y);
    } else if (verb == "close") {
      windows_.erase(number);
    }
    Say("done");
  }

  Platform& platform_;
  bool quit_ = false;
  std::map<int, std::unique_ptr<PlatformWindow>> windows_;
  std::vector<std::unique_ptr<PlatformPointer>> pointers_;
  std::mutex lock_;
  std::vector<std::string> commands_;
};

}  // namespace
}  // namespace quillmere

int main() {
  quillmere::Host host;
  const auto platform = quillmere::PlatformOpen(host);
  if (!platform) {
    std::cout << "failed " << static_cast<int>(platform.error()) << " " << host.errors.argument
              << std::endl;
    return 1;
  }
  std::cout << "ready" << std::endl;
  quillmere::Probe(**platform).Run();
  return 0;
}
