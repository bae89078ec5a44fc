#include "pixels/color_commands.h"

#include <algorithm>
#include <array>

#include "base/numbers.h"
#include "pixels/color.h"
#include "pixels/pixels_state.h"
#include "pixels/plane_convert.h"

namespace quillmere {
namespace {

CommandResult PushNumber(VmState& state, double value) {
  vmPushNumber(state, value);
  return 1;
}

/// A share of 255 as a number or a percentage, not yet checked.
int ArgShare(VmState& state, int index) {
  return ToInt32(vmArgPercent(state, index, 255, false));
}

}  // namespace

CommandResult RGBCommand(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::uint32_t joined =
      JoinRGB(vmArgUnsigned(state, 1), vmArgUnsigned(state, 2), vmArgUnsigned(state, 3));
  return PushNumber(state, static_cast<std::int32_t>(joined));
}

CommandResult ARGBCommand(VmState& state) {
  vmCheckArgs(state, 2, 2);
  return PushNumber(state, vmArgUnsigned(state, 1) << 24 | vmArgUnsigned(state, 2));
}

CommandResult Red(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushNumber(state, RedOf(vmArgUnsigned(state, 1)));
}

CommandResult Green(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushNumber(state, GreenOf(vmArgUnsigned(state, 1)));
}

CommandResult Blue(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushNumber(state, BlueOf(vmArgUnsigned(state, 1)));
}

CommandResult GetRealColor(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const auto& pixels = vmRoom<PixelsState>(state);
  const int depth = pixels.screenDepth ? pixels.screenDepth() : 32;
  return PushNumber(state, ColorOnScreen(vmArgUnsigned(state, 1), depth));
}

CommandResult GetPen(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const auto index = static_cast<std::size_t>(std::clamp(vmArgInt(state, 1), 0, 255));
  const auto& pixels = vmRoom<PixelsState>(state);
  const auto palette =
      pixels.outputPalette ? pixels.outputPalette() : std::span<const std::uint32_t>{};
  if (palette.empty()) return PushNumber(state, NOTRANSPARENCY);
  return PushNumber(state, index < palette.size() ? palette[index] : 0);
}

CommandResult MixRGB(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::uint32_t from = vmArgUnsigned(state, 1), to = vmArgUnsigned(state, 2);
  const int ratio = ArgShare(state, 3);
  if (ratio < 0 || ratio > 255) return Error::WrongUsage;
  return PushNumber(state, MixColors(from, to, ratio));
}

CommandResult GetRandomColor(VmState& state) {
  vmCheckArgs(state, 0, 0);
  const auto count = static_cast<std::int32_t>(randomColors.size());
  const auto index = static_cast<std::size_t>(qmRandomBelow(vmHost(state).random, count));
  return PushNumber(state, ExpandColor12(randomColors[index]));
}

std::span<const VmCommandEntry> ColorCommands() {
  static constexpr std::array commands{
      VmCommandEntry{"RGB", RGBCommand},
      VmCommandEntry{"ARGB", ARGBCommand},
      VmCommandEntry{"Red", Red},
      VmCommandEntry{"Green", Green},
      VmCommandEntry{"Blue", Blue},
      VmCommandEntry{"GetRealColor", GetRealColor},
      VmCommandEntry{"GetPen", GetPen},
      VmCommandEntry{"MixRGB", MixRGB},
      VmCommandEntry{"GetRandomColor", GetRandomColor},
  };
  return commands;
}

CommandResult SetMaskMode(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const int mode = vmArgInt(state, 1);
  if (mode < MASKVISIBLE || mode > MASKOR) return Error::WrongUsage;
  vmRoom<PixelsState>(state).maskMode = static_cast<MaskMode>(mode);
  return 0;
}

CommandResult SetAlphaIntensity(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const int intensity = ArgShare(state, 1);
  if (intensity != VANILLACOPY && (intensity < 0 || intensity > 255)) return Error::WrongUsage;
  vmRoom<PixelsState>(state).alphaIntensity = intensity;
  return 0;
}

std::span<const VmConstantEntry> BlitConstants() {
  static constexpr std::array constants{
      VmConstantEntry{"MASKVISIBLE", nullptr, MASKVISIBLE},
      VmConstantEntry{"MASKINVISIBLE", nullptr, MASKINVISIBLE},
      VmConstantEntry{"MASKVANILLACOPY", nullptr, MASKVANILLACOPY},
      VmConstantEntry{"MASKXOR", nullptr, MASKXOR},
      VmConstantEntry{"MASKAND", nullptr, MASKAND},
      VmConstantEntry{"MASKOR", nullptr, MASKOR},
      VmConstantEntry{"VANILLACOPY", nullptr, VANILLACOPY},
      VmConstantEntry{"NOTRANSPARENCY", nullptr, NOTRANSPARENCY},
  };
  return constants;
}

}  // namespace quillmere
