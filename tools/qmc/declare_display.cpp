// The declaration of a display, which has more options than all others together.
#include "base/numbers.h"
#include "qmc/declarations.h"

namespace quillmere::qmc {
namespace {

constexpr std::int32_t centered = -100000;
constexpr std::size_t regionLimit = 64;
constexpr std::int32_t regionBox = 14;

struct FlagRow {
  const char* key;
  std::uint32_t bit;
};

constexpr FlagRow flagRows[] = {
    {"borderless", display_option::borderless},
    {"sizeable", display_option::sizeable},
    {"fixed", display_option::fixed},
    {"nomodeswitch", display_option::noModeSwitch},
    {"hidepointer", display_option::hidePointer},
    {"nohide", display_option::noHide},
    {"smoothscale", display_option::smoothScale},
    {"active", display_option::active},
    {"hidden", display_option::hidden},
    {"layers", display_option::layers},
    {"usequartz", display_option::useQuartz},
    {"noclose", display_option::noClose},
    {"keepproportions", display_option::keepProportions},
    {"fitscale", display_option::fitScale},
};

}  // namespace

/// `@DISPLAY id, options`, or `@DISPLAY options` for display 1.
void Declarations::ReadDisplay() {
  AppletObject object;
  const bool hasId = Count() > 0 && directive_->arguments[0]->kind != ExprKind::Table;
  if (hasId) {
    object.id = NewId(ObjectKind::Display);
  } else if (ids_.insert({ObjectKind::Display, 1}).second) {
    object.id = 1;
  } else {
    Report(directive_->position, Error::DoubleDeclarationNumberAlreadyAssigned);
  }
  object.kind = ObjectKind::Display;
  object.line = directive_->line;
  if (!CheckCount(0, hasId ? 2 : 1)) return;
  Options options = OptionsArgument(hasId ? 1 : 0);
  DisplayOptions(options, object);
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

std::uint32_t Declarations::DisplayFlags(Options& options, bool isFirst, std::uint32_t& mask) {
  // A script's first window is meant to have the input.
  std::uint32_t flags = isFirst ? display_option::active : 0;
  for (const FlagRow& row : flagRows) {
    const auto value = options.Flag(row.key);
    if (!value) continue;
    mask |= row.bit;
    flags = *value ? flags | row.bit : flags & ~row.bit;
  }
  if (const auto mode = options.Integer("scalemode")) {
    mask |= display_option::autoScale | display_option::layerScale;
    if (*mode == 1) flags |= display_option::autoScale;
    if (*mode == 2) flags |= display_option::layerScale;
    if (*mode < 0 || *mode > 2) Report(options.PositionOf("scalemode"), Error::WrongUsage);
  }
  return flags;
}

void Declarations::Regions(Options& options, std::string_view key, ByteWriter& out) {
  const std::vector<const Expr*> tables = options.Tables(key);
  if (tables.size() > regionLimit) Report(options.PositionOf(key), Error::WrongUsage);
  out.U32(static_cast<std::uint32_t>(tables.size()));
  for (const Expr* table : tables) {
    Options region(compilation_.names, compilation_.diagnostics);
    region.Take(*table);
    const std::int32_t type = region.Integer("type").value_or(regionBox);
    if (type != regionBox) Report(region.PositionOf("type"), Error::WrongUsage);
    out.U32(static_cast<std::uint32_t>(type));
    for (const char* field : {"x", "y", "width", "height"}) {
      const auto value = region.Integer(field);
      const std::int32_t least = field[1] == '\0' ? 0 : 1;
      if (!value && !region.Has(field)) Report(table->position, Error::NotEnoughArguments);
      if (value && *value < least) Report(region.PositionOf(field), Error::WrongUsage);
      out.U32(static_cast<std::uint32_t>(value.value_or(least)));
    }
    region.Finish();
  }
}

void Declarations::DisplayFill(Options& options, std::uint32_t color, std::uint8_t style,
                               ByteWriter& out) {
  out.U8(style);
  out.U32(options.Unsigned("gradientendcolor").value_or(style == 2 ? 0 : color));
  out.I16(options.Integer("gradientangle").value_or(0));
  out.U32(options.Unsigned("texturebrush").value_or(0));
  out.U32(options.Unsigned("texturex").value_or(0));
  out.U32(options.Unsigned("texturey").value_or(0));
}

void Declarations::DisplayOptions(Options& options, AppletObject& object) {
  const bool isFirst = object.id == 1;
  std::uint32_t mask = 0;
  std::uint32_t flags = DisplayFlags(options, isFirst, mask);
  const auto bgpic = options.Unsigned("bgpic");
  if (bgpic) flags |= display_option::hasBGPic;

  const auto size = [&](const char* key, std::int32_t fallback) {
    const std::int32_t value = options.Integer(key).value_or(fallback);
    if (value < 1) Report(options.PositionOf(key), Error::WrongUsage);
    return static_cast<std::uint32_t>(value);
  };
  const auto scale = [&](const char* key) {
    const auto value = options.Share(key);
    if (value && *value == 0) Report(options.PositionOf(key), Error::WrongUsage);
    return static_cast<std::uint32_t>(value.value_or(0));
  };
  const std::int32_t style = options.Integer("fillstyle").value_or(1);
  if (style < 1 || style > 3) Report(options.PositionOf("fillstyle"), Error::WrongUsage);
  const auto plain = options.Unsigned("color");
  const auto start = options.Unsigned("gradientstartcolor");
  const std::uint32_t color = (style == 2 ? start : plain).value_or(0);
  const std::string title = options.Text("title").value_or("Quillmere");
  if (title.size() > appletTitleLimit) Report(options.PositionOf("title"), Error::WrongUsage);
  if (options.Flag("desktop").value_or(false)) {
    applet_.desktop = true;
    if (!isFirst) Report(options.PositionOf("desktop"), Error::WrongUsage);
    if (bgpic) Report(options.PositionOf("bgpic"), Error::BGPicWithDisplayDesktop);
    if ((flags & display_option::autoScale) != 0) {
      Report(options.PositionOf("scalemode"), Error::AutoscaleWithDisplayDesktop);
    }
  }

  ByteWriter out;
  out.U32(bgpic.value_or(0));
  out.U32(static_cast<std::uint32_t>(options.Integer("x").value_or(centered)));
  out.U32(static_cast<std::uint32_t>(options.Integer("y").value_or(centered)));
  out.U32(size("width", 640));
  out.U32(size("height", 480));
  out.U32(color);
  out.U32(flags);
  out.U32(mask);
  out.U32(scale("scalewidth"));
  out.U32(scale("scaleheight"));
  Regions(options, "dragregion", out);
  Regions(options, "sizeregion", out);
  out.I16(static_cast<std::int32_t>(title.size()));
  out.Bytes(title);
  DisplayFill(options, color, static_cast<std::uint8_t>(style), out);
  object.attributes = out.Take();
}

}  // namespace quillmere::qmc
