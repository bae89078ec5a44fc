#include "qmc/options.h"

#include <algorithm>
#include <charconv>

#include "base/numbers.h"

namespace quillmere::qmc {

void Options::Take(const Expr& table) {
  position_ = table.position;
  if (table.kind != ExprKind::Table) {
    diagnostics_.Report(table.position, Error::OpeningBraceExpected);
    return;
  }
  for (const TableItem& item : As<TableExpr>(table).items) {
    if (item.key == nullptr || item.key->kind != ExprKind::String) {
      diagnostics_.Report(item.value->position, Error::EqualSignExpected);
    } else {
      entries_.push_back({names_.Text(As<StringExpr>(*item.key).text), item.value});
    }
  }
}

const Options::Entry* Options::Find(std::string_view key) const {
  const auto found = std::ranges::find(entries_, key, &Entry::key);
  return found == entries_.end() ? nullptr : &*found;
}

const Expr* Options::Use(std::string_view key) {
  const auto found = std::ranges::find(entries_, key, &Entry::key);
  if (found == entries_.end()) return nullptr;
  found->isUsed = true;
  return found->value;
}

Position Options::PositionOf(std::string_view key) const {
  const Entry* entry = Find(key);
  return entry == nullptr ? position_ : entry->value->position;
}

std::optional<double> Options::Number(std::string_view key) {
  const Expr* value = Use(key);
  if (value == nullptr) return std::nullopt;
  if (value->kind == ExprKind::Number) return As<NumberExpr>(*value).value;
  diagnostics_.Report(value->position, Error::FieldNumberExpected, std::string(key));
  return std::nullopt;
}

std::optional<std::int32_t> Options::Integer(std::string_view key) {
  const auto number = Number(key);
  return number ? std::optional(ToInt32(*number)) : std::nullopt;
}

std::optional<std::uint32_t> Options::Unsigned(std::string_view key) {
  const auto number = Number(key);
  return number ? std::optional(ToUInt32(*number)) : std::nullopt;
}

std::optional<bool> Options::Flag(std::string_view key) {
  const auto number = Number(key);
  return number ? std::optional(*number != 0) : std::nullopt;
}

std::optional<std::string> Options::Text(std::string_view key) {
  const Expr* value = Use(key);
  if (value == nullptr) return std::nullopt;
  if (value->kind == ExprKind::String) return names_.Text(As<StringExpr>(*value).text);
  diagnostics_.Report(value->position, Error::FieldStringExpected, std::string(key));
  return std::nullopt;
}

std::optional<std::int32_t> Options::Share(std::string_view key) {
  const Expr* value = Use(key);
  if (value == nullptr || value->kind != ExprKind::String) return Integer(key);
  const std::string& text = names_.Text(As<StringExpr>(*value).text);
  std::int32_t percent = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), percent);
  if (code == std::errc() && percent > 0 && end + 1 == text.data() + text.size() && *end == '%') {
    return -percent;
  }
  diagnostics_.Report(value->position, Error::FieldNumberExpected, std::string(key));
  return std::nullopt;
}

std::vector<const Expr*> Options::Tables(std::string_view key) {
  std::vector<const Expr*> tables;
  const Expr* value = Use(key);
  if (value == nullptr) return tables;
  if (value->kind != ExprKind::Table) {
    diagnostics_.Report(value->position, Error::OpeningBraceExpected);
    return tables;
  }
  for (const TableItem& item : As<TableExpr>(*value).items) tables.push_back(item.value);
  return tables;
}

void Options::Finish() {
  for (const Entry& entry : entries_) {
    if (!entry.isUsed) diagnostics_.Report(entry.value->position, Error::UnknownTag, entry.key);
  }
}

}  // namespace quillmere::qmc
