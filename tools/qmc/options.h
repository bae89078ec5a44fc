// Reading the table of options that a declaration ends with.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qmc/ast.h"
#include "qmc/diagnostics.h"
#include "qmc/names.h"

namespace quillmere::qmc {

/// The options of one declaration. Each is asked for by its name in lower case; a value of a wrong
/// kind is reported and counts as not given, and so is what nobody asked for.
class Options {
 public:
  Options(const NameTable& names, Diagnostics& diagnostics)
      : names_(names), diagnostics_(diagnostics) {}

  /// Takes the entries of a table; another kind of value is reported.
  void Take(const Expr& table);

  std::optional<double> Number(std::string_view key);
  /// A number truncated to 32 bits.
  std::optional<std::int32_t> Integer(std::string_view key);
  std::optional<std::uint32_t> Unsigned(std::string_view key);
  std::optional<bool> Flag(std::string_view key);
  std::optional<std::string> Text(std::string_view key);
  /// A number, or a text that ends with a percent sign, which gives the negative number.
  std::optional<std::int32_t> Share(std::string_view key);
  /// The tables of a list.
  std::vector<const Expr*> Tables(std::string_view key);
  /// Where an option's value stands; the table's place when it was not given.
  [[nodiscard]] Position PositionOf(std::string_view key) const;
  [[nodiscard]] bool Has(std::string_view key) const { return Find(key) != nullptr; }

  /// Reports the options that were never asked for.
  void Finish();

 private:
  struct Entry {
    std::string key;
    const Expr* value = nullptr;
    bool isUsed = false;
  };
  [[nodiscard]] const Entry* Find(std::string_view key) const;
  const Expr* Use(std::string_view key);

  const NameTable& names_;
  Diagnostics& diagnostics_;
  Position position_;
  std::vector<Entry> entries_;
};

}  // namespace quillmere::qmc
