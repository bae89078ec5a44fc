#include "codecs/byterun1.h"

namespace quillmere {
namespace {

constexpr std::size_t longestPiece = 128;
constexpr std::size_t shortestRun = 3;

void PutLiteral(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& out) {
  out.push_back(static_cast<std::uint8_t>(bytes.size() - 1));
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void PutRun(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& out) {
  out.push_back(static_cast<std::uint8_t>(1 - static_cast<int>(bytes.size())));
  out.push_back(bytes.front());
}

}  // namespace

void PackByteRun1(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& out) {
  if (row.empty()) return;
  bool inRun = false;
  std::size_t start = 0;  // of what is not put yet
  std::size_t equal = 0;  // where the equal bytes at the end of it begin
  for (std::size_t i = 1; i < row.size(); ++i) {
    const bool same = row[i] == row[i - 1];
    if (inRun) {
      if (same && i - start < longestPiece) continue;
      PutRun(row.subspan(start, i - start), out);
      inRun = false;
      start = equal = i;
    } else if (i - start >= longestPiece) {
      PutLiteral(row.subspan(start, i - start), out);
      start = equal = i;
    } else if (!same) {
      equal = i;
    } else if (equal == start) {
      inRun = true;
    } else if (i + 1 - equal >= shortestRun) {
      PutLiteral(row.subspan(start, equal - start), out);
      inRun = true;
      start = equal;
    }
  }
  const auto rest = row.subspan(start);
  inRun ? PutRun(rest, out) : PutLiteral(rest, out);
}

}  // namespace quillmere
