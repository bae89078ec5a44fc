// What pictures cost on their way in and out: the quantiser against ImageMagick's, GIF data against
// giflib's encoder, and a large JPEG on the screen against libjpeg's own decoder program. A ratio
// of 2.00 means twice as fast as the peer. Times are of the processor, so that other work of the
// machine does not count; those of other programs are from their start to their end, on one thread,
// and where one does more than its part, the same program without that part is subtracted.
#include <gif_lib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "codecs/gif_writer.h"
#include "codecs/jpeg_writer.h"
#include "codecs/quantizer.h"
#include "files/files_state.h"
#include "platform/headless/headless_platform.h"
#include "scene/libraries.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

using Work = std::function<void()>;

/// Processor time of this process and of the programs that it has run so far.
double ProcessorMilliseconds() {
  double sum = 0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(who, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      sum += 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
    }
  }
  return sum;
}

double Milliseconds(const Work& work) {
  const double start = ProcessorMilliseconds();
  work();
  return ProcessorMilliseconds() - start;
}

/// The best times of several pieces of work that take turns.
std::vector<double> BestTimes(int rounds, const std::vector<Work>& works) {
  std::vector<double> best(works.size(), 1e9);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < works.size(); ++i) {
      best[i] = std::min(best[i], Milliseconds(works[i]));
    }
  }
  return best;
}

/// Prints how often the peer's time holds ours.
void Report(const char* name, double ours, const char* peer, double theirs, double goal) {
  const double ratio = theirs / ours;
  std::printf("%-42s %6.2f x %-28s %8.2f ms against %8.2f ms   goal %.2f %s\n", name, ratio, peer,
              ours, theirs, goal, ratio >= goal ? "" : " MISSED");
}

void Require(bool done, const char* what) {
  if (done) return;
  std::fprintf(stderr, "cannot %s\n", what);
  std::exit(1);
}

void RunProgram(const std::string& command) {
  Require(std::system(command.c_str()) == 0, command.c_str());
}

/// Noise of the sort that clouds, leaves and walls have: smooth at one size, and again at each half
/// of it, with less weight.
class CloudNoise {
 public:
  explicit CloudNoise(unsigned seed) : lattice_(side * side) {
    std::mt19937 random(seed);
    for (float& value : lattice_) value = static_cast<float>(random() & 0xFFFF) / 65535.0F;
  }

  [[nodiscard]] float At(float x, float y) const {
    float sum = 0;
    float weight = 0.5F;
    for (int octave = 0; octave < 6; ++octave, x *= 2, y *= 2, weight /= 2) {
      sum += weight * Smooth(x, y);
    }
    return sum;
  }

 private:
  static constexpr int side = 256;

  [[nodiscard]] float Cell(int x, int y) const {
    return lattice_[static_cast<std::size_t>((y & (side - 1)) * side + (x & (side - 1)))];
  }
  [[nodiscard]] float Smooth(float x, float y) const {
    const int column = static_cast<int>(x);
    const int row = static_cast<int>(y);
    const auto ease = [](float t) { return t * t * (3 - 2 * t); };
    const float right = ease(x - static_cast<float>(column));
    const float down = ease(y - static_cast<float>(row));
    return std::lerp(std::lerp(Cell(column, row), Cell(column + 1, row), right),
                     std::lerp(Cell(column, row + 1), Cell(column + 1, row + 1), right), down);
  }

  std::vector<float> lattice_;
};

struct Photograph {
  int width;
  int height;
  std::vector<std::uint32_t> pixels;

  [[nodiscard]] PixelView View() const { return {pixels.data(), width, height, width}; }
};

/// A picture with what photographs have: skies that change slowly, structure of all sizes in
/// colours that belong together, hard edges, and the grain of a sensor.
Photograph MakePhotograph(int width, int height) {
  Photograph photo{width, height, {}};
  photo.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const CloudNoise light(1);
  const CloudNoise warmth(2);
  const CloudNoise ground(3);
  std::mt19937 random(4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float u = static_cast<float>(x) / static_cast<float>(height);
      const float v = static_cast<float>(y) / static_cast<float>(height);
      const bool isGround = v > 0.55F + 0.25F * (ground.At(u * 3, 7) - 0.5F);
      const float level = isGround ? 60 + 190 * light.At(u * 12, v * 24) : 250 - 130 * v;
      const float warm = (warmth.At(u * 4, v * 4) - 0.5F) * (isGround ? 160 : 60);
      const auto channel = [&](float value) {
        const float grain = static_cast<float>(random() % 13) - 6;
        return static_cast<std::uint32_t>(std::clamp(value + grain, 0.0F, 255.0F));
      };
      photo.pixels.push_back(channel(level + warm) << 16 | channel(level + warm / 4) << 8 |
                             channel(level - warm + (isGround ? -30 : 40)));
    }
  }
  return photo;
}

/// A directory in memory, where the system has one, that goes with the object.
class Directory {
 public:
  Directory() {
    const std::string shared = "/dev/shm";
    const auto parent = std::filesystem::is_directory(shared)
                            ? std::filesystem::path(shared)
                            : std::filesystem::temp_directory_path();
    path_ = parent / ("quillmere-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(path_);
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  [[nodiscard]] std::string PathOf(const char* name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

void WritePpm(const Photograph& photo, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  out << "P6\n" << photo.width << ' ' << photo.height << "\n255\n";
  std::string bytes;
  for (const std::uint32_t word : photo.pixels) {
    for (const int shift : {16, 8, 0}) bytes += static_cast<char>(word >> shift);
  }
  out << bytes;
}

void CompareQuantizers(const Directory& directory, const Photograph& photo) {
  const std::string file = directory.PathOf("photo.ppm");
  WritePpm(photo, file);
  constexpr int rounds = 5;
  for (const bool dither : {false, true}) {
    const std::string convert = "MAGICK_THREAD_LIMIT=1 convert " + file;
    const std::string mode = dither ? "-dither FloydSteinberg" : "+dither";
    const auto best =
        BestTimes(rounds, {[&] {
                             (void)QuantizeImage(photo.View(), {256, -1, false, dither});
                           },
                           [&] { RunProgram(convert + " null:"); },
                           [&] { RunProgram(convert + ' ' + mode + " -colors 256 null:"); }});
    Report(dither ? "256 colours, dithered" : "256 colours", best[0], "ImageMagick, less its start",
           best[2] - best[1], dither ? 0 : 1);
  }
}

int WriteToFile(GifFileType* gif, const GifByteType* bytes, int count) {
  return static_cast<int>(std::fwrite(bytes, 1, static_cast<std::size_t>(count),
                                      static_cast<std::FILE*>(gif->UserData)));
}

void WriteWithGiflib(const IndexedImage& image, int width, int height, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  Require(file != nullptr, "write a GIF");
  ColorMapObject* colors = GifMakeMapObject(256, nullptr);
  for (std::size_t i = 0; i < image.palette.size(); ++i) {
    colors->Colors[i] = {static_cast<GifByteType>(image.palette[i] >> 16),
                         static_cast<GifByteType>(image.palette[i] >> 8),
                         static_cast<GifByteType>(image.palette[i])};
  }
  int error = 0;
  GifFileType* gif = EGifOpen(file, WriteToFile, &error);
  Require(gif != nullptr, "open giflib's encoder");
  EGifPutScreenDesc(gif, width, height, 8, 0, colors);
  EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr);
  std::vector<GifByteType> row(static_cast<std::size_t>(width));
  for (int y = 0; y < height; ++y) {
    // It masks the pixels where they stand.
    std::copy_n(image.indexes.data() + static_cast<std::size_t>(y) * row.size(), row.size(),
                row.begin());
    EGifPutLine(gif, row.data(), width);
  }
  EGifCloseFile(gif, &error);
  GifFreeMapObject(colors);
  std::fclose(file);
}

/// A program with an open display of full HD.
class World {
 public:
  World() {
    host.flags.quiet = true;
    HeadlessSettings settings;
    settings.screenWidth = 2000;
    settings.screenHeight = 1200;
    platform_ = std::move(*OpenHeadlessPlatform(host, std::move(settings)));
    files_ = std::make_unique<FilesState>(host);
    host.Enter(pixels_);
    scene_ = std::make_unique<SceneState>(host);
    host.Enter(*scene_);
    state_ = vmOpen(host);
    (void)OpenDisplayLibrary(*state_);
    (void)OpenBrushLibrary(*state_);
    vmNewTable(*state_);
    vmSetFieldInt(*state_, "width", 1920);
    vmSetFieldInt(*state_, "height", 1080);
    vmSetFieldInt(*state_, "active", 1);
    (void)MakeDisplay(*state_, {1, 0}, vmGetTop(*state_));
    Require(OpenDisplays(*state_, {}, {}).has_value(), "open the display");
  }
  ~World() {
    CloseDisplays(*scene_);
    vmClose(state_);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  void ShowFile(const std::string& file) {
    const std::string_view name = file;
    Require(vmCallCommand(*state_, "LoadBrush", 0, {std::int32_t{1}, name}) == 0, "load");
    Require(vmCallCommand(*state_, "DisplayBrush", 0,
                          {std::int32_t{1}, std::int32_t{0}, std::int32_t{0}}) == 0,
            "show");
  }

  Host host;

 private:
  std::unique_ptr<Platform> platform_;
  std::unique_ptr<FilesState> files_;
  PixelsState pixels_;
  std::unique_ptr<SceneState> scene_;
  VmState* state_ = nullptr;
};

void CompareGifWriters(World& world, const Directory& directory, const Photograph& photo) {
  constexpr int rounds = 15;
  for (const bool dither : {false, true}) {
    IndexedImage image = *QuantizeImage(photo.View(), {256, -1, false, dither});
    const std::string ours = directory.PathOf("ours.gif");
    const std::string theirs = directory.PathOf("theirs.gif");
    const auto best = BestTimes(
        rounds, {[&] {
                   auto gif = GifOpen(world.host, ours, photo.width, photo.height);
                   Require(gif.has_value(), "write a GIF");
                   (void)GifWriteFrame(**gif, {image.indexes, image.palette, image.colors});
                   (void)GifClose(std::move(*gif));
                 },
                 [&] { WriteWithGiflib(image, photo.width, photo.height, theirs); }});
    Report(dither ? "GIF file, dithered picture" : "GIF file", best[0], "giflib", best[1], 1);
    std::printf("%-42s %ju against %ju bytes\n", "", std::filesystem::file_size(ours),
                std::filesystem::file_size(theirs));
  }
}

void CompareJpegReaders(World& world, const Directory& directory) {
  const std::string file = directory.PathOf("photo.jpg");
  const Photograph photo = MakePhotograph(4000, 3000);
  Require(WriteJpeg(world.host, file, photo.View(), 90).has_value(), "write a JPEG");
  constexpr int rounds = 15;
  const auto best = BestTimes(rounds, {[&] { world.ShowFile(file); },
                                       [&] { RunProgram("djpeg " + file + " > /dev/null"); }});
  Report("JPEG of 4000x3000 to a shown brush", best[0], "djpeg", best[1], 1 / 1.15);
}

}  // namespace
}  // namespace quillmere

int main() {
  using namespace quillmere;
  const Directory directory;
  World world;
  const Photograph photo = MakePhotograph(1920, 1080);
  CompareQuantizers(directory, photo);
  CompareGifWriters(world, directory, photo);
  CompareJpegReaders(world, directory);
}
