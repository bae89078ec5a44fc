#include "qmc/declarations.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/fold.h"
#include "base/numbers.h"

namespace quillmere::qmc {

const Declarations::Row Declarations::rows[] = {
    {"anim", &Declarations::ReadAnim},
    {"author", &Declarations::ReadAuthor},
    {"backfill", &Declarations::ReadBackfill},
    {"bgpic", &Declarations::ReadBGPic},
    {"brush", &Declarations::ReadBrush},
    {"button", &Declarations::ReadButton},
    {"copyright", &Declarations::ReadCopyright},
    {"description", &Declarations::ReadDescription},
    {"display", &Declarations::ReadDisplay},
    {"file", &Declarations::ReadFile},
    {"font", &Declarations::ReadFont},
    {"key", &Declarations::ReadKey},
    {"link", &Declarations::ReadLink},
    {"linkfont", &Declarations::ReadLinkFont},
    {"locksettings", &Declarations::ReadLockSettings},
    {"music", &Declarations::ReadMusic},
    {"require", &Declarations::ReadRequire},
    {"sample", &Declarations::ReadSample},
    {"screen", &Declarations::ReadScreen},
    {"sprite", &Declarations::ReadSprite},
    {"title", &Declarations::ReadTitle},
    {"version", &Declarations::ReadVersion},
};

void Declarations::Run() {
  for (const Directive& directive : compilation_.script.directives) {
    directive_ = &directive;
    const std::string& name = compilation_.names.Text(directive.name);
    (this->*std::ranges::find(rows, name, &Row::name)->handler)();
  }
}

bool Declarations::Knows(std::string_view name) {
  return std::ranges::find(rows, name, &Row::name) != std::end(rows);
}

const Expr* Declarations::Argument(std::size_t index) {
  if (index < Count()) return directive_->arguments[index];
  Report(directive_->position, Error::NotEnoughArguments);
  return nullptr;
}

std::optional<double> Declarations::NumberArgument(std::size_t index) {
  const Expr* value = Argument(index);
  if (value == nullptr) return std::nullopt;
  if (value->kind == ExprKind::Number) return As<NumberExpr>(*value).value;
  compilation_.diagnostics.Report(value->position, Error::NumberExpected,
                                  static_cast<int>(index) + 1);
  return std::nullopt;
}

std::optional<std::string> Declarations::TextArgument(std::size_t index) {
  const Expr* value = Argument(index);
  if (value == nullptr) return std::nullopt;
  if (value->kind == ExprKind::String) {
    return compilation_.names.Text(As<StringExpr>(*value).text);
  }
  compilation_.diagnostics.Report(value->position, Error::StringExpected,
                                  static_cast<int>(index) + 1);
  return std::nullopt;
}

bool Declarations::CheckCount(std::size_t least, std::size_t most) {
  if (Count() < least) {
    Report(directive_->position, Error::NotEnoughArguments);
  } else if (Count() > most) {
    Report(directive_->arguments[most]->position, Error::TooManyArguments);
  }
  return Count() >= least && Count() <= most;
}

Options Declarations::OptionsArgument(std::size_t index) {
  Options options(compilation_.names, compilation_.diagnostics);
  if (index < Count()) options.Take(*directive_->arguments[index]);
  return options;
}

std::uint32_t Declarations::NewId(ObjectKind kind) {
  const auto number = NumberArgument(0);
  if (!number) return 0;
  const Position position = directive_->arguments[0]->position;
  if (*number < 1 || *number > 2147483647 || *number != std::floor(*number)) {
    Report(position, Error::PositiveIdsOnly);
    return 0;
  }
  const auto id = static_cast<std::uint32_t>(*number);
  if (!ids_.insert({kind, id}).second) {
    Report(position, Error::DoubleDeclarationNumberAlreadyAssigned);
    return 0;
  }
  return id;
}

AppletObject Declarations::NewObject(ObjectKind kind) {
  AppletObject object;
  object.kind = kind;
  object.id = NewId(kind);
  object.line = directive_->line;
  return object;
}

std::filesystem::path Declarations::PathOf(const Position& position,
                                           const std::string& name) const {
  return compilation_.sources.File(position.file).path.parent_path() / name;
}

/// The name of an object's file or key; a name that the player would not take is reported.
std::optional<std::string> Declarations::NameArgument(std::size_t index) {
  constexpr std::size_t limit = 1023;
  auto name = TextArgument(index);
  if (name && name->size() > limit) {
    Report(directive_->arguments[index]->position, Error::SpecifiedNameTooLong);
  }
  return name;
}

/// Takes the object's file into the applet unless the script or the command line says no.
void Declarations::LinkObject(AppletObject& object, Options& options, std::size_t nameArgument) {
  const bool isWanted = options.Flag("link").value_or(linkFiles_);
  if (!isWanted) return;
  const Position position = directive_->arguments[nameArgument]->position;
  if (const auto data = linker_.Add(PathOf(position, object.name))) {
    object.data = *data;
  } else {
    Report(position, data.error(), object.name);
  }
}

void Declarations::Transparency(Options& options, AppletObject& object) {
  const auto color = options.Unsigned("transparency");
  const bool wantsAlpha = options.Flag("loadalpha").value_or(false);
  constexpr std::uint32_t noTransparency = 0xFFFFFFFF;
  if (color) object.transparency = *color;
  if (wantsAlpha) object.loadAlpha = 1;
  if (wantsAlpha && color.value_or(noTransparency) != noTransparency) {
    Report(options.PositionOf("loadalpha"), Error::MaskAndAlphaExclusive);
  }
}

/// What all pictures have in common: number, file, transparency. False when a part of it is wrong.
bool Declarations::ReadPicture(AppletObject& object, Options& options) {
  if (!CheckCount(2, 3)) return false;
  const auto name = NameArgument(1);
  if (!name) return false;
  object.name = *name;
  Transparency(options, object);
  LinkObject(object, options, 1);
  return true;
}

void Declarations::ReadBGPic() {
  AppletObject object = NewObject(ObjectKind::BGPic);
  Options options = OptionsArgument(2);
  if (!ReadPicture(object, options)) return;
  ByteWriter out;
  const std::int32_t style = options.Integer("fillstyle").value_or(0);
  if (style < 0 || style > 3) Report(options.PositionOf("fillstyle"), Error::WrongUsage);
  const auto start = options.Unsigned("gradientstartcolor");
  const auto color = options.Unsigned("fillcolor");
  out.U8(static_cast<std::uint8_t>(style));
  out.U32((style == 2 ? start : color).value_or(0));
  out.U32(options.Unsigned("gradientendcolor").value_or(0));
  out.I16(options.Integer("gradientangle").value_or(0));
  out.U32(options.Unsigned("texturebrush").value_or(0));
  out.U32(options.Unsigned("texturex").value_or(0));
  out.U32(options.Unsigned("texturey").value_or(0));
  object.attributes = out.Take();
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadBrush() {
  AppletObject object = NewObject(ObjectKind::Brush);
  Options options = OptionsArgument(2);
  if (!ReadPicture(object, options)) return;
  ByteWriter out;
  for (const char* key : {"width", "height", "x", "y", "globalalpha"}) {
    out.I16(options.Integer(key).value_or(-1));
  }
  object.attributes = out.Take();
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::Frames(Options& options, ByteWriter& out) {
  for (const char* key : {"width", "height", "frames", "fpr", "x", "y"}) {
    out.I16(options.Integer(key).value_or(-1));
  }
}

void Declarations::ReadAnim() {
  AppletObject object = NewObject(ObjectKind::Anim);
  Options options = OptionsArgument(2);
  if (!ReadPicture(object, options)) return;
  ByteWriter out;
  out.Flag(options.Flag("fromdisk").value_or(false));
  Frames(options, out);
  object.attributes = out.Take();
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadSprite() {
  AppletObject object = NewObject(ObjectKind::Sprite);
  Options options = OptionsArgument(2);
  if (!ReadPicture(object, options)) return;
  ByteWriter out;
  Frames(options, out);
  object.attributes = out.Take();
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadSound(ObjectKind kind) {
  AppletObject object = NewObject(kind);
  Options options = OptionsArgument(2);
  if (!CheckCount(2, 3)) return;
  const auto name = NameArgument(1);
  if (!name) return;
  object.name = *name;
  LinkObject(object, options, 1);
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadFile() {
  ReadSound(ObjectKind::File);
}

/// `@FONT id, name, size`: a name that ends like a font file is one, and is linked.
void Declarations::ReadFont() {
  AppletObject object = NewObject(ObjectKind::Font);
  Options options = OptionsArgument(3);
  if (!CheckCount(3, 4)) return;
  const auto name = NameArgument(1);
  const auto size = NumberArgument(2);
  if (!name || !size) return;
  object.name = *name;
  object.transparency = static_cast<std::uint32_t>(ToInt32(*size));
  object.loadAlpha = options.Unsigned("engine").value_or(0) & fontEngineMask;
  if (!options.Flag("cache").value_or(true)) object.loadAlpha |= fontCacheOff;
  const std::string folded = FoldLower(*name);
  const bool isFile = folded.ends_with(".ttf") || folded.ends_with(".otf");
  if (isFile) {
    LinkObject(object, options, 1);
  } else if (options.Flag("link").value_or(false)) {
    Report(options.PositionOf("link"), Error::CannotFindFontSystem, *name);
  }
  options.Finish();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadButton() {
  AppletObject object = NewObject(ObjectKind::Button);
  if (!CheckCount(5, 5)) return;
  ByteWriter out;
  for (std::size_t i = 1; i <= 4; ++i) out.I16(ToInt32(NumberArgument(i).value_or(0)));
  object.attributes = out.Take();
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadKey() {
  AppletObject object = NewObject(ObjectKind::Key);
  if (!CheckCount(2, 2)) return;
  const auto key = NameArgument(1);
  if (!key) return;
  object.name = *key;
  applet_.objects.push_back(std::move(object));
}

void Declarations::ReadLink() {
  if (!CheckCount(1, std::string::npos) || !linkFiles_) return;
  for (std::size_t i = 0; i < Count(); ++i) {
    const auto name = TextArgument(i);
    if (!name) continue;
    const Position position = directive_->arguments[i]->position;
    const Status status = linker_.Link(*name, PathOf(position, *name));
    if (!status) Report(position, status.error(), *name);
  }
}

/// `@LINKFONT name, file`.
void Declarations::ReadLinkFont() {
  if (!CheckCount(2, 2)) return;
  const auto name = TextArgument(0);
  const auto file = TextArgument(1);
  if (!name || !file || !linkFiles_) return;
  const Position position = directive_->arguments[1]->position;
  const Status status = linker_.LinkFont(*name, PathOf(position, *file));
  if (!status) Report(position, status.error(), *file);
}

void Declarations::ReadText(std::string& target) {
  if (!CheckCount(1, 1)) return;
  if (const auto text = TextArgument(0)) target = *text;
}

void Declarations::ReadTitle() {
  ReadText(applet_.title);
  if (applet_.title.size() > appletTitleLimit) {
    Report(directive_->arguments[0]->position, Error::SpecifiedNameTooLong);
  }
}

void Declarations::ReadScreen() {
  if (!CheckCount(1, 1)) return;
  Options options = OptionsArgument(0);
  if (const auto mode = options.Text("mode")) {
    struct Mode {
      std::string_view name;
      std::uint8_t value;
    };
    static constexpr Mode modes[] = {
        {"window", 1}, {"fullscreen", 2}, {"ownscreen", 5}, {"fakefullscreen", 6}};
    const auto found = std::ranges::find(modes, FoldLower(*mode), &Mode::name);
    if (found == std::end(modes)) {
      Report(options.PositionOf("mode"), Error::UnknownTag, *mode);
    } else {
      applet_.displayMode = found->value;
    }
  }
  const auto width = options.Integer("width");
  const auto height = options.Integer("height");
  if (width && height) applet_.screenSize = {*width, *height};
  if (width.has_value() != height.has_value()) {
    Report(options.PositionOf(width ? "width" : "height"), Error::NotEnoughArguments);
  }
  if (const auto depth = options.Unsigned("depth")) {
    applet_.screenDepth = static_cast<std::uint8_t>(*depth);
  }
  if (const auto hide = options.Flag("hidetitlebar")) applet_.hideTitleBar = *hide ? 1 : 0;
  options.Finish();
}

void Declarations::ReadBackfill() {
  if (!CheckCount(1, 1)) return;
  Options options = OptionsArgument(0);
  const std::string type = FoldLower(options.Text("type").value_or(""));
  const auto brush = options.Unsigned("brush");
  const auto start = options.Unsigned("startcolor");
  const auto end = options.Unsigned("endcolor");
  const auto color = options.Unsigned("color");
  ByteWriter out;
  bool isComplete = true;
  const auto kind = [&](BackfillKind value) { out.U8(static_cast<std::uint8_t>(value)); };
  if (type == "none") {
    kind(BackfillKind::None);
  } else if (type == "color") {
    isComplete = color.has_value();
    kind(BackfillKind::Color);
    out.U32(color.value_or(0));
  } else if (type == "gradient") {
    isComplete = start && end;
    kind(BackfillKind::Gradient);
    out.U32(start.value_or(0));
    out.U32(end.value_or(0));
  } else if (type == "texture") {
    isComplete = brush.has_value();
    kind(BackfillKind::Texture);
    out.U32(brush.value_or(0));
  } else if (type == "picture") {
    isComplete = brush.has_value();
    constexpr std::int32_t centered = -100000;
    kind(BackfillKind::Picture);
    out.U32(brush.value_or(0));
    out.U32(static_cast<std::uint32_t>(options.Integer("x").value_or(centered)));
    out.U32(static_cast<std::uint32_t>(options.Integer("y").value_or(centered)));
    out.U32(start.value_or(0));
    out.U32(end.value_or(0));
    out.Flag(options.Flag("scale").value_or(false));
  } else {
    isComplete = false;
  }
  if (!isComplete) Report(directive_->position, Error::WrongBackfill);
  options.Finish();
  applet_.backfill = out.Take();
}

void Declarations::ReadLockSettings() {
  if (CheckCount(0, 0)) applet_.lockSettings = true;
}

/// `@REQUIRE "4.8"`: fails for a version that this compiler does not know.
void Declarations::ReadRequire() {
  if (!CheckCount(1, 1)) return;
  const auto text = TextArgument(0);
  if (!text) return;
  AppletVersion wanted;
  char rest = 0;
  const int read = std::sscanf(text->c_str(), "%d.%d%c", &wanted.major, &wanted.minor, &rest);
  const Position position = directive_->arguments[0]->position;
  if (read != 2) {
    Report(position, Error::WrongUsage);
  } else if (wanted > newestAppletVersion) {
    Report(position, Error::ScriptNeedsNewerVersion, *text);
  }
}

}  // namespace quillmere::qmc
