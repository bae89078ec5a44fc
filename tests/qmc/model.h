// A second opinion on what a script does: programs that are made of objects, write themselves as
// text, and run themselves without any compiler. Numbers are their only values, beside functions
// that are kept in a list and remember the variables around them.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace quillmere::qmc {

/// What a program has printed: a line of numbers for each print.
using Trace = std::vector<std::vector<double>>;

class Model {
 public:
  explicit Model(unsigned seed);
  ~Model();

  /// The script.
  [[nodiscard]] std::string Text() const;
  /// What it prints. Nothing when it would run too long.
  [[nodiscard]] std::optional<Trace> Run() const;

 private:
  struct Node;
  struct Maker;
  struct Runner;
  std::vector<std::unique_ptr<Node>> program_;
};

}  // namespace quillmere::qmc
