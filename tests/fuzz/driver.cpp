// Runs a fuzz target on changed copies of a corpus and keeps those that reach new code. The target
// is the function that libFuzzer knows too; the compiler's coverage hook tells where it has been.
//
//   fuzz_NAME [-seconds=N] [-runs=N] [-seed=N] [-save=DIR] [file or directory ...]
//
// Each file is run as it stands first. With -seconds=0 that is all. An input that breaks the target
// is written to `crash-NAME` in the current directory.
#include <sanitizer/common_interface_defs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" const char* __asan_default_options() {
  return "handle_abort=1:allocator_may_return_null=0:max_allocation_size_mb=2048:"
         "hard_rss_limit_mb=4096:detect_leaks=1";
}

namespace {

namespace fs = std::filesystem;
using Input = std::vector<std::uint8_t>;

constexpr std::size_t largestInput = 1 << 20;
constexpr unsigned secondsForOneInput = 20;

// What the hook and the death callback reach; the process holds one target.
std::array<std::uint8_t, 1 << 16> visits;
const Input* running = nullptr;
std::string crashPath;

void SaveRunningInput() {
  if (running == nullptr) return;
  std::ofstream out(crashPath, std::ios::binary);
  out.write(reinterpret_cast<const char*>(running->data()),
            static_cast<std::streamsize>(running->size()));
  std::fprintf(stderr, "the input is in %s\n", crashPath.c_str());
}

struct Options {
  double seconds = 5;
  std::uint64_t runs = UINT64_MAX;
  unsigned seed = 1;
  std::string saveDirectory;
  std::vector<fs::path> corpus;
};

/// Changes inputs at random, with a liking for the numbers that readers trip over.
class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

  Input Mutate(Input input, const Input& other) {
    for (std::size_t count = 1 + Below(4); count > 0; --count) Change(input, other);
    if (input.size() > largestInput) input.resize(largestInput);
    return input;
  }

 private:
  void Change(Input& input, const Input& other) {
    if (input.empty()) {
      input = other;
      return;
    }
    switch (Below(8)) {
      case 0:
        input[Below(input.size())] ^= static_cast<std::uint8_t>(1u << Below(8));
        break;
      case 1:
        input[Below(input.size())] = static_cast<std::uint8_t>(random_());
        break;
      case 2:
      case 3:
        PutNumber(input);
        break;
      case 4:
        input.resize(Below(input.size()));
        break;
      case 5:
        Erase(input);
        break;
      case 6:
        Insert(input, input);
        break;
      default:
        Insert(input, other);
    }
  }

  void PutNumber(Input& input) {
    static constexpr std::uint32_t numbers[] = {
        0,      1,      2,      4,       0x7F,       0x80,       0xFF,       0x100,
        0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    const std::uint32_t number = numbers[Below(std::size(numbers))];
    const std::size_t width = std::min(std::size_t{1} << Below(3), input.size());
    const std::size_t at = Below(input.size() - width + 1);
    const bool big = Below(2) == 0;
    for (std::size_t i = 0; i < width; ++i) {
      const std::size_t shift = 8 * (big ? width - 1 - i : i);
      input[at + i] = static_cast<std::uint8_t>(number >> shift);
    }
  }

  void Erase(Input& input) {
    const std::size_t at = Below(input.size());
    const std::size_t count = 1 + Below(std::min<std::size_t>(input.size() - at, 64));
    const auto begin = input.begin() + static_cast<std::ptrdiff_t>(at);
    input.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, input.size() - at)));
  }

  void Insert(Input& input, const Input& source) {
    if (source.empty()) return;
    const std::size_t from = Below(source.size());
    const std::size_t count = 1 + Below(std::min<std::size_t>(source.size() - from, 64));
    const Input piece(
        source.begin() + static_cast<std::ptrdiff_t>(from),
        source.begin() + static_cast<std::ptrdiff_t>(std::min(from + count, source.size())));
    const auto at = input.begin() + static_cast<std::ptrdiff_t>(Below(input.size() + 1));
    input.insert(at, piece.begin(), piece.end());
  }

  std::mt19937 random_;
};

class Fuzzer {
 public:
  explicit Fuzzer(Options options) : options_(std::move(options)), mutator_(options_.seed) {}

  void Run() {
    for (const fs::path& path : options_.corpus) AddPath(path);
    if (corpus_.empty()) corpus_.push_back({});
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(options_.seconds);
    while (runs_ < options_.runs && std::chrono::steady_clock::now() < end) {
      const Input& base = corpus_[mutator_.Below(corpus_.size())];
      Input input = mutator_.Mutate(base, corpus_[mutator_.Below(corpus_.size())]);
      if (RunOne(input)) Keep(std::move(input));
    }
    std::printf("%llu runs, %zu inputs, %zu places\n", static_cast<unsigned long long>(runs_),
                corpus_.size(), Places());
  }

 private:
  void AddPath(const fs::path& path) {
    if (fs::is_directory(path)) {
      std::vector<fs::path> files;
      for (const auto& entry : fs::directory_iterator(path)) files.push_back(entry.path());
      std::ranges::sort(files);
      for (const fs::path& file : files) AddPath(file);
      return;
    }
    std::ifstream in(path, std::ios::binary);
    Input input{std::istreambuf_iterator<char>(in), {}};
    RunOne(input);
    corpus_.push_back(std::move(input));
  }

  /// Runs the target; true when it came to a place where it had not been, or came often for the
  /// first time.
  bool RunOne(const Input& input) {
    visits.fill(0);
    running = &input;
    alarm(secondsForOneInput);
    LLVMFuzzerTestOneInput(input.data(), input.size());
    alarm(0);
    running = nullptr;
    ++runs_;
    bool isNew = false;
    for (std::size_t i = 0; i < visits.size(); ++i) {
      if (visits[i] == 0) continue;
      const std::uint8_t often = Often(visits[i]);
      isNew |= (often & ~seen_[i]) != 0;
      seen_[i] |= often;
    }
    return isNew;
  }

  /// One bit for 1, 2, 3, 4 to 7, 8 to 15, 16 to 31, 32 to 127, and more visits.
  static std::uint8_t Often(std::uint8_t count) {
    static constexpr std::uint8_t most[] = {1, 2, 3, 7, 15, 31, 127, 255};
    const auto* slot = std::ranges::lower_bound(most, count);
    return static_cast<std::uint8_t>(1u << (slot - std::begin(most)));
  }

  void Keep(Input input) {
    if (!options_.saveDirectory.empty()) {
      std::ofstream out(fs::path(options_.saveDirectory) / std::to_string(corpus_.size()),
                        std::ios::binary);
      out.write(reinterpret_cast<const char*>(input.data()),
                static_cast<std::streamsize>(input.size()));
    }
    corpus_.push_back(std::move(input));
  }

  [[nodiscard]] std::size_t Places() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(seen_, [](std::uint8_t often) { return often != 0; }));
  }

  Options options_;
  Mutator mutator_;
  std::vector<Input> corpus_;
  std::array<std::uint8_t, std::tuple_size_v<decltype(visits)>> seen_{};
  std::uint64_t runs_ = 0;
};

template <class T>
bool TakeOption(std::string_view argument, std::string_view name, T& value) {
  if (!argument.starts_with(name)) return false;
  argument.remove_prefix(name.size());
  std::from_chars(argument.data(), argument.data() + argument.size(), value);
  return true;
}

}  // namespace

/// Called by the compiler at each edge of the code under test.
extern "C" __attribute__((no_sanitize_coverage, no_sanitize("address"))) void
__sanitizer_cov_trace_pc() {
  const auto place = reinterpret_cast<std::uintptr_t>(__builtin_return_address(0));
  std::uint8_t& count = visits[(place ^ place >> 16) & (visits.size() - 1)];
  if (count < 255) ++count;
}

int main(int argc, char** argv) {
  Options options;
  for (const std::string_view argument :
       std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    if (TakeOption(argument, "-seconds=", options.seconds) ||
        TakeOption(argument, "-runs=", options.runs) ||
        TakeOption(argument, "-seed=", options.seed)) {
      continue;
    }
    if (argument.starts_with("-save=")) {
      options.saveDirectory = argument.substr(6);
    } else {
      options.corpus.emplace_back(argument);
    }
  }
  crashPath = "crash-" + fs::path(argv[0]).filename().string();
  __sanitizer_set_death_callback(SaveRunningInput);
  std::signal(SIGALRM, [](int) { std::abort(); });
  Fuzzer(std::move(options)).Run();
}
