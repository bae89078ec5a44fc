// Speed of the pixel routines on full HD pictures, each as a ratio against a peer that runs in turn
// with it: 2.00 means twice as fast as the peer.
#include <SDL.h>
#include <pixman.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

#include "pixels/blit.h"
#include "pixels/image_ops.h"
#include "pixels/kernels.h"
#include "pixels/plane_convert.h"
#include "pixels/scale.h"
#include "pixels/transform.h"

namespace quillmere {
namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int rounds = 100;

using Work = std::function<void()>;

double Milliseconds(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

/// The best times of several pieces of work that take turns.
std::vector<double> BestTimes(const std::vector<Work>& works) {
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
  std::printf("%-42s %6.2f x %-28s %8.3f ms against %8.3f ms   goal %.2f %s\n", name, ratio, peer,
              ours, theirs, goal, ratio >= goal ? "" : " MISSED");
}

void Compare(const char* name, const Work& ours, const char* peer, const Work& theirs,
             double goal) {
  const auto best = BestTimes({ours, theirs});
  Report(name, best[0], peer, best[1], goal);
}

/// Pictures and peers' views of them.
class Bench {
 public:
  Bench() {
    std::mt19937 random(1);
    for (const BitmapPtr& bitmap : {source_, target_}) {
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) bitmap->At(x, y) = static_cast<std::uint32_t>(random());
      }
    }
    for (int y = 0; y < height; ++y) {
      int run = 0;
      bool on = false;
      for (int x = 0; x < width; ++x, --run) {
        noise_->Row(y)[x] = static_cast<std::uint8_t>(random());
        if (run == 0) {
          run = 1 + static_cast<int>(random() % 64);
          on = !on;
        }
        mask_->Set(x, y, on);
        ends_->Row(y)[x] = on ? 255 : 0;
      }
    }
  }

  void Run() {
    Copies();
    Blends();
    Scaling();
    Rotation();
    ImageOps();
  }

 private:
  static pixman_image_t* Image(qmBitmap& bitmap) {
    return pixman_image_create_bits(PIXMAN_x8r8g8b8, bitmap.width, bitmap.height, bitmap.Row(0),
                                    bitmap.pixelsPerRow * qmBitmap::bytesPerPixel);
  }

  static void Composite(pixman_op_t op, pixman_image_t* from, pixman_image_t* through,
                        pixman_image_t* to, int w, int h) {
    pixman_image_composite32(op, from, through, to, 0, 0, 0, 0, 0, 0, w, h);
  }

  void Copies() {
    constexpr std::size_t bytes = sizeof(std::uint32_t) * width * height;
    std::vector<std::uint32_t> from(bytes / 4, 1), to(bytes / 4, 2);
    const Work copy = [&] { std::memcpy(to.data(), from.data(), bytes); };
    Compare(
        "copy", [&] { BLTBITMAP(debug_, *source_, target_.get(), all_); }, "memcpy", copy, 0.9);
    Compare(
        "fill", [&] { RECTFILL(debug_, target_.get(), all_.Target(), 0x123456); }, "memset",
        [&] { std::memset(to.data(), 0x12, bytes); }, 0.9);
    Compare(
        "alpha blend, alpha 0 or 255 in runs",
        [&] { BLTALPHABITMAP(debug_, *source_, target_.get(), all_, *ends_); }, "memcpy", copy,
        0.5);

    // The peer's bits of a byte run the other way on this machine.
    std::vector<std::uint8_t> turned(mask_->Bytes().begin(), mask_->Bytes().end());
    for (std::uint8_t& byte : turned) {
      unsigned mirrored = 0;
      for (int bit = 0; bit < 8; ++bit) mirrored |= (byte >> bit & 1u) << (7 - bit);
      byte = static_cast<std::uint8_t>(mirrored);
    }
    pixman_image_t* bits = pixman_image_create_bits(PIXMAN_a1, width, height,
                                                    reinterpret_cast<std::uint32_t*>(turned.data()),
                                                    mask_->bytesPerRow);
    pixman_image_t* s = Image(*source_);
    pixman_image_t* t = Image(*target_);
    Compare(
        "masked copy, half the bits in runs",
        [&] { BLTMASK(debug_, *source_, target_.get(), all_, *mask_); }, "pixman, 1-bit mask",
        [&] { Composite(PIXMAN_OP_OVER, s, bits, t, width, height); }, 1);
    for (pixman_image_t* image : {bits, s, t}) pixman_image_unref(image);
  }

  void Blends() {
    pixman_image_t* s = Image(*source_);
    pixman_image_t* t = Image(*target_);
    pixman_image_t* a = pixman_image_create_bits(PIXMAN_a8, width, height,
                                                 reinterpret_cast<std::uint32_t*>(noise_->Row(0)),
                                                 noise_->bytesPerRow);
    SDL_Surface* from =
        SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, SDL_PIXELFORMAT_ARGB8888);
    SDL_Surface* to = SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, SDL_PIXELFORMAT_RGB888);
    for (int y = 0; y < height; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(static_cast<std::uint8_t*>(from->pixels) +
                                                   y * from->pitch);
      for (int x = 0; x < width; ++x) {
        row[x] = source_->Color(x, y) | static_cast<std::uint32_t>(noise_->Row(y)[x]) << 24;
      }
    }
    SDL_SetSurfaceBlendMode(from, SDL_BLENDMODE_BLEND);
    const auto best =
        BestTimes({BlendWork(), [&] { Composite(PIXMAN_OP_OVER, s, a, t, width, height); },
                   [&] { SDL_BlitSurface(from, nullptr, to, nullptr); }});
    const bool pixmanIsFaster = best[1] < best[2];
    Report("alpha blend, random alpha", best[0], pixmanIsFaster ? "pixman, 8-bit mask" : "SDL2",
           std::min(best[1], best[2]), 1);
    CompareWithBlend("tint", [this] { TintPicture(*target_, all_.Target(), 0x336699, 100); });
    CompareWithBlend("blend of a whole picture",
                     [this] { BlendPicture(*target_, *source_, nullptr, nullptr, all_, 100); });
    CompareWithBlend("blend of a whole picture with alpha", [this] {
      BlendPicture(*target_, *source_, nullptr, noise_.get(), all_, 100);
    });
    SDL_FreeSurface(from);
    SDL_FreeSurface(to);
    for (pixman_image_t* image : {s, t, a}) pixman_image_unref(image);
  }

  [[nodiscard]] Work BlendWork() {
    return [this] { BLTALPHABITMAP(debug_, *source_, target_.get(), all_, *noise_); };
  }

  void CompareWithBlend(const char* name, const Work& work) {
    Compare(name, work, "our alpha blend", BlendWork(), 1);
  }

  void Scaling() {
    const Planes small = *CopyPlanes({source_, nullptr, nullptr}, 0, 0, 1280, 720);
    pixman_image_t* s = Image(*small.bitmap);
    pixman_image_t* t = Image(*target_);
    pixman_transform_t matrix;
    pixman_transform_init_scale(&matrix, pixman_double_to_fixed(1280.0 / width),
                                pixman_double_to_fixed(720.0 / height));
    pixman_image_set_transform(s, &matrix);
    pixman_image_set_filter(s, PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(s, PIXMAN_REPEAT_PAD);
    const auto scale = [&](bool smooth) {
      (void)ScaleBitmapInto(tables_, *small.bitmap, {0, 0, 1280, 720}, *target_, width, height,
                            smooth);
    };
    cv::setNumThreads(1);
    const auto bytesPerRow = [](const qmBitmap& bitmap) {
      return static_cast<std::size_t>(bitmap.pixelsPerRow) * sizeof(std::uint32_t);
    };
    const cv::Mat from(720, 1280, CV_8UC4, small.bitmap->Row(0), bytesPerRow(*small.bitmap));
    cv::Mat to(height, width, CV_8UC4, target_->Row(0), bytesPerRow(*target_));
    const Work smooth = [&] { scale(true); };
    Compare(
        "smooth scale 1280x720 to 1920x1080", smooth, "pixman bilinear",
        [&] { Composite(PIXMAN_OP_SRC, s, nullptr, t, width, height); }, 1);
    Compare(
        "smooth scale 1280x720 to 1920x1080", smooth, "cv::resize linear",
        [&] { cv::resize(from, to, to.size(), 0, 0, cv::INTER_LINEAR); }, 0);
    pixman_image_set_filter(s, PIXMAN_FILTER_NEAREST, nullptr, 0);
    Compare(
        "plain scale 1280x720 to 1920x1080", [&] { scale(false); }, "pixman nearest",
        [&] { Composite(PIXMAN_OP_SRC, s, nullptr, t, width, height); }, 1);
    pixman_image_unref(s);
    pixman_image_unref(t);
    AlphaScaling();
  }

  /// An alpha map alone. Ours makes the map that it draws into.
  void AlphaScaling() {
    const Planes small = *CopyPlanes({nullptr, nullptr, noise_}, 0, 0, 1280, 720);
    const Planes large = *CopyPlanes({nullptr, nullptr, noise_});
    const auto bytesPerRow = [](const qmAlphaMap& map) {
      return static_cast<std::size_t>(map.bytesPerRow);
    };
    const cv::Mat from(720, 1280, CV_8UC1, small.alpha->Row(0), bytesPerRow(*small.alpha));
    cv::Mat to(height, width, CV_8UC1, large.alpha->Row(0), bytesPerRow(*large.alpha));
    Compare(
        "smooth scale of an alpha map",
        [&] {
          (void)ScalePlanes(tables_, small, {0, 0, 1280, 720}, width, height, true);
        },
        "cv::resize linear", [&] { cv::resize(from, to, to.size(), 0, 0, cv::INTER_LINEAR); }, 0);
  }

  void Rotation() {
    const Matrix matrix = BuildMatrix(0, 0, width, height, 30, 1, 1);
    const TransformedBox box = TransformedSize(matrix, width, height);
    const BitmapPtr turned = *AllocBitmap(box.width, box.height);
    pixman_image_t* s = Image(*source_);
    pixman_image_t* t = Image(*turned);
    // The peer's matrix leads from the target to the source, as our inverse does.
    const double det = matrix.m00 * matrix.m11 - matrix.m10 * matrix.m01;
    const double ia = matrix.m11 / det, ib = -matrix.m01 / det;
    const double ic = -matrix.m10 / det, id = matrix.m00 / det;
    const pixman_f_transform_t inverse{{{ia, ic, ia * box.left + ic * box.top},
                                        {ib, id, ib * box.left + id * box.top},
                                        {0, 0, 1}}};
    pixman_transform_t fixed;
    pixman_transform_from_pixman_f_transform(&fixed, &inverse);
    pixman_image_set_transform(s, &fixed);
    for (const bool smooth : {true, false}) {
      pixman_image_set_filter(s, smooth ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST, nullptr,
                              0);
      Compare(
          smooth ? "smooth rotation by 30 degrees" : "plain rotation by 30 degrees",
          [&] {
            (void)TransformPlanes({source_, nullptr, nullptr}, {0, 0, width, height}, matrix,
                                  smooth);
          },
          smooth ? "pixman bilinear" : "pixman nearest",
          [&] { Composite(PIXMAN_OP_SRC, s, nullptr, t, box.width, box.height); },
          smooth ? 0.8 : 1);
    }
    pixman_image_set_filter(s, PIXMAN_FILTER_BILINEAR, nullptr, 0);
    const Planes kinds[] = {{source_, mask_, nullptr}, {source_, nullptr, noise_}};
    for (const Planes& planes : kinds) {
      Compare(
          planes.mask ? "smooth rotation of a picture with a mask"
                      : "smooth rotation of a picture with alpha",
          [&] {
            (void)TransformPlanes(planes, {0, 0, width, height}, matrix, true);
          },
          "pixman bilinear",
          [&] { Composite(PIXMAN_OP_SRC, s, nullptr, t, box.width, box.height); }, 0);
    }
    pixman_image_unref(s);
    pixman_image_unref(t);
  }

  void ImageOps() {
    for (const int angle : {0, 45, 90}) {
      const std::string name = "gradient at " + std::to_string(angle) + " degrees";
      CompareWithBlend(name.c_str(), [this, angle] {
        DrawGradient(debug_, target_.get(), all_.Target(), 0x102030, 0xF0C080, angle);
      });
    }
    CompareWithBlend("gray", [this] { GrayPicture(*target_); });
    CompareWithBlend("invert", [this] { InvertPicture(*target_); });
    const Planes planes{target_, nullptr, nullptr};
    CompareWithBlend("flip, horizontal", [&] { (void)FlipPlanes(planes, true); });
    CompareWithBlend("flip, vertical", [&] { (void)FlipPlanes(planes, false); });
  }

  DebugOutput debug_;
  BlitArea all_{0, 0, 0, 0, width, height};
  BitmapPtr source_ = *AllocBitmap(width, height);
  BitmapPtr target_ = *AllocBitmap(width, height);
  MaskPtr mask_ = *AllocMask(width, height, true);
  AlphaPtr noise_ = *AllocAlphaMap(width, height, true);
  AlphaPtr ends_ = *AllocAlphaMap(width, height, true);
  ScaleTables tables_;
};

}  // namespace
}  // namespace quillmere

int main() {
  quillmere::Bench().Run();
}
