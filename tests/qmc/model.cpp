#include "model.h"

#include <cstdio>
#include <utility>

namespace quillmere::qmc {
namespace {

enum class Kind {
  // Values.
  Number,
  Variable,
  Binary,
  Compare,
  And,
  Or,
  Not,
  Negate,
  CallKept,
  Choose,
  // Commands.
  Local,
  Assign,
  Swap,
  Print,
  If,
  While,
  Repeat,
  For,
  Switch,
  Block,
  Break,
  Continue,
  Return,
  Keep
};

std::string NumberText(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

}  // namespace

struct Model::Node {
  Kind kind;
  /// A name, an operator.
  std::string text;
  double number = 0;
  /// Values, then blocks.
  std::vector<std::unique_ptr<Node>> values;
  std::vector<std::vector<std::unique_ptr<Node>>> blocks;
};

struct Model::Maker {
  std::mt19937 random;
  /// Names that are declared, block by block.
  std::vector<std::vector<std::string>> scopes{{}};
  int names = 0;
  int loops = 0;
  int functions = 0;
  /// How many values and commands are left to make.
  int budget = 400;

  int Pick(int count) { return std::uniform_int_distribution(0, count - 1)(random); }
  bool Chance(int percent) { return Pick(100) < percent; }

  static std::unique_ptr<Node> Make(Kind kind, std::string text = {}, double number = 0) {
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->text = std::move(text);
    node->number = number;
    return node;
  }

  template <class... Values>
  static std::unique_ptr<Node> With(std::unique_ptr<Node> node, Values... values) {
    (node->values.push_back(std::move(values)), ...);
    return node;
  }

  std::string AnyName() {
    std::vector<std::string> all;
    for (const auto& scope : scopes) all.insert(all.end(), scope.begin(), scope.end());
    if (all.empty() || Chance(15)) return std::string("g") + static_cast<char>('a' + Pick(4));
    return all[static_cast<std::size_t>(Pick(static_cast<int>(all.size())))];
  }

  std::unique_ptr<Node> Value(int depth) {
    static constexpr const char* arithmetic[] = {"+", "-", "*"};
    static constexpr const char* compare[] = {"=", "<>", "<", "<=", ">", ">="};
    --budget;
    if (depth <= 0 || budget <= 0) {
      return Chance(40) ? Make(Kind::Number, {}, Pick(Chance(20) ? 1000 : 10))
                        : Make(Kind::Variable, AnyName());
    }
    switch (Pick(10)) {
      case 0:
        return Make(Kind::Number, {}, Pick(1000) / 8.0);
      case 1:
        return With(Make(Kind::Compare, compare[Pick(6)]), Value(depth - 1), Value(depth - 1));
      case 2:
        return With(Make(Kind::And), Value(depth - 1), Value(depth - 1));
      case 3:
        return With(Make(Kind::Or), Value(depth - 1), Value(depth - 1));
      case 4:
        return With(Make(Kind::Not), Value(depth - 1));
      case 5:
        return With(Make(Kind::Negate), Value(depth - 1));
      case 6:
        return With(Make(Kind::CallKept, {}, Pick(6)), Value(depth - 1));
      case 7:
        return Make(Kind::Variable, AnyName());
      default:
        return With(Make(Kind::Binary, arithmetic[Pick(3)]), Value(depth - 1), Value(depth - 1));
    }
  }

  std::vector<std::unique_ptr<Node>> Block(int depth, std::vector<std::string> own = {}) {
    scopes.push_back(std::move(own));
    std::vector<std::unique_ptr<Node>> block;
    for (int i = 1 + Pick(5); i > 0; --i) block.push_back(Command(depth));
    scopes.pop_back();
    return block;
  }

  std::string Fresh() { return "v" + std::to_string(names++); }

  /// A declaration; now and then of a name that an outer block has already.
  std::unique_ptr<Node> Local() {
    std::string name = Chance(30) ? AnyName() : Fresh();
    for (const std::string& known : scopes.back()) {
      if (known == name) name = Fresh();
    }
    auto node = With(Make(Kind::Local, name), Value(2));
    scopes.back().push_back(name);
    return node;
  }

  std::unique_ptr<Node> Loop(int depth) {
    ++loops;
    std::unique_ptr<Node> node;
    const int turns = 1 + Pick(4);
    if (Chance(40)) {
      const std::string name = Fresh();
      const int step = Chance(50) ? 1 : Pick(7) - 3;
      const int first = Pick(6) - 2;
      node = Make(Kind::For, name);
      node->values.push_back(Chance(60) ? Make(Kind::Number, {}, first)
                                        : With(Make(Kind::Negate), Make(Kind::Number, {}, first)));
      node->values.push_back(Make(Kind::Number, {}, first + turns));
      node->values.push_back(Make(Kind::Number, {}, step == 0 ? 2 : step));
      node->blocks.push_back(Block(depth - 1, {name}));
    } else {
      // `text` counts the turns, so that there is an end.
      // The condition of `Repeat` sees the locals of the block, so it names no variable here.
      const bool isWhile = Chance(50);
      node = Make(isWhile ? Kind::While : Kind::Repeat, "n" + std::to_string(names++), turns);
      node->values.push_back(
          isWhile ? Value(2)
                  : With(Make(Kind::CallKept, {}, Pick(6)), Make(Kind::Number, {}, Pick(5))));
      node->blocks.push_back(Block(depth - 1));
    }
    --loops;
    return node;
  }

  std::unique_ptr<Node> Keep(int depth) {
    auto node = Make(Kind::Keep, Fresh(), Pick(6));
    const int outerLoops = std::exchange(loops, 0);
    ++functions;
    node->blocks.push_back(Block(depth - 1, {node->text}));
    node->values.push_back(Make(Kind::Variable, node->text));
    --functions;
    loops = outerLoops;
    return node;
  }

  std::unique_ptr<Node> Command(int depth) {
    --budget;
    if (depth > 0 && budget > 0) {
      switch (Pick(12)) {
        case 0:
          return Loop(depth);
        case 1:
          return Loop(depth);
        case 2: {
          auto node = Make(Kind::If);
          for (int i = 1 + Pick(3); i > 0; --i) {
            node->values.push_back(Value(3));
            node->blocks.push_back(Block(depth - 1));
          }
          if (Chance(50)) node->blocks.push_back(Block(depth - 1));
          return node;
        }
        case 3: {
          auto node = With(Make(Kind::Switch, {}, Pick(4)), Value(1));
          for (int i = 0; i < 4; ++i) node->blocks.push_back(Block(depth - 1));
          return node;
        }
        case 4: {
          auto node = Make(Kind::Block);
          node->blocks.push_back(Block(depth - 1));
          return node;
        }
        case 5:
          return Keep(depth);
        default:
          break;
      }
    }
    switch (Pick(10)) {
      case 0:
      case 1:
        return Local();
      case 2:
        return With(Make(Kind::Print), Value(2), Value(1));
      case 3:
        if (loops > 0 && Chance(50)) {
          return Make(Chance(50) ? Kind::Break : Kind::Continue, {}, 1 + Pick(loops));
        }
        if (functions > 0) return With(Make(Kind::Return), Value(2));
        return With(Make(Kind::Print), Value(3));
      case 4: {
        auto node = Make(Kind::Swap, AnyName());
        node->values.push_back(Make(Kind::Variable, AnyName()));
        return node;
      }
      default:
        return With(Make(Kind::Assign, AnyName()), Value(3));
    }
  }
};

Model::Model(unsigned seed) {
  Maker maker{.random = std::mt19937(seed)};
  for (int i = 0; i < 6; ++i) {
    program_.push_back(maker.Keep(3));
    for (int n = 4; n > 0; --n) program_.push_back(maker.Command(4));
  }
}

Model::~Model() = default;

namespace {

struct Writer {
  std::string out;
  std::size_t indent = 0;

  void Line(const std::string& text) { out += std::string(indent * 2, ' ') + text + '\n'; }

  template <class Node>
  static std::string Value(const Node& node) {
    const auto of = [&](std::size_t i) { return Value(*node.values[i]); };
    switch (node.kind) {
      case Kind::Number:
        return NumberText(node.number);
      case Kind::Variable:
        return node.text;
      case Kind::Binary:
      case Kind::Compare:
        return "(" + of(0) + " " + node.text + " " + of(1) + ")";
      case Kind::And:
        return "(" + of(0) + " And " + of(1) + ")";
      case Kind::Or:
        return "(" + of(0) + " Or " + of(1) + ")";
      case Kind::Not:
        return "(Not " + of(0) + ")";
      case Kind::Negate:
        return "(-" + of(0) + ")";
      default:
        return "Kept(" + NumberText(node.number) + ", " + of(0) + ")";
    }
  }

  template <class List>
  void Block(const List& block) {
    ++indent;
    for (const auto& command : block) Command(*command);
    --indent;
  }

  template <class Node>
  void Command(const Node& node) {
    const auto of = [&](std::size_t i) { return Value(*node.values[i]); };
    switch (node.kind) {
      case Kind::Local:
        return Line("Local " + node.text + " = " + of(0));
      case Kind::Assign:
        return Line(node.text + " = " + of(0));
      case Kind::Swap:
        return Line(node.text + ", " + of(0) + " = " + of(0) + ", " + node.text);
      case Kind::Print:
        return Line("Show(" + of(0) + (node.values.size() > 1 ? ", " + of(1) : "") + ")");
      case Kind::Break:
        return Line("Break " + NumberText(node.number));
      case Kind::Continue:
        return Line("Continue " + NumberText(node.number));
      case Kind::Return:
        return Line("Return " + of(0));
      case Kind::If:
        for (std::size_t i = 0; i < node.blocks.size(); ++i) {
          if (i < node.values.size()) {
            Line((i == 0 ? "If " : "ElseIf ") + of(i));
          } else {
            Line("Else");
          }
          Block(node.blocks[i]);
        }
        return Line("EndIf");
      case Kind::Switch:
        Line("Switch " + of(0));
        for (std::size_t i = 0; i < node.blocks.size(); ++i) {
          // One of the four is the default, wherever it stands.
          Line(i == static_cast<std::size_t>(node.number)
                   ? "Default:"
                   : "Case " + std::to_string(i) + ", " + std::to_string(i + 10) + ":");
          Block(node.blocks[i]);
        }
        return Line("EndSwitch");
      case Kind::Block:
        Line("Block");
        Block(node.blocks[0]);
        return Line("EndBlock");
      case Kind::While:
        Line("Local " + node.text + " = 0");
        Line("While " + node.text + " < " + NumberText(node.number) + " And " + of(0) + " <> 3");
        Line("  " + node.text + " = " + node.text + " + 1");
        Block(node.blocks[0]);
        return Line("Wend");
      case Kind::Repeat:
        Line("Local " + node.text + " = 0");
        Line("Repeat");
        Line("  " + node.text + " = " + node.text + " + 1");
        Block(node.blocks[0]);
        return Line("Until " + node.text + " >= " + NumberText(node.number) + " Or " + of(0) +
                    " = 3");
      case Kind::For:
        Line("For " + node.text + " = " + of(0) + " To " + of(1) + " Step " + of(2));
        Block(node.blocks[0]);
        return Line("Next");
      case Kind::Keep:
        Line("store[" + NumberText(node.number) + "] = Function(" + node.text + ")");
        Block(node.blocks[0]);
        Line("  Return " + of(0));
        return Line("EndFunction");
      default:
        return;
    }
  }
};

}  // namespace

std::string Model::Text() const {
  Writer writer;
  writer.Line("ga, gb, gc, gd, calls = 0, 0, 0, 0, 0");
  writer.Line("Local store = {}");
  writer.Line("Local Function Kept(index, value)");
  writer.Line("  calls = calls + 1");
  writer.Line("  If calls > 300 Then Return 1");
  writer.Line("  Local f = RawGet(store, index)");
  writer.Line("  If f = Nil Then Return 2");
  writer.Line("  Return f(value)");
  writer.Line("EndFunction");
  for (const auto& command : program_) writer.Command(*command);
  return writer.out;
}

struct Model::Runner {
  using Cell = std::shared_ptr<double>;
  /// The variables of one block, and the blocks around it.
  struct Scope {
    std::shared_ptr<Scope> outer;
    std::map<std::string, Cell> cells;
  };
  struct Closure {
    const Node* node;
    std::shared_ptr<Scope> scope;
  };
  struct TooLong {};
  enum class Way { On, Break, Continue, Return };

  Trace trace;
  std::map<std::string, double> globals;
  std::map<double, Closure> kept;
  std::shared_ptr<Scope> scope = std::make_shared<Scope>();
  Way way = Way::On;
  int loopsToLeave = 0;
  double result = 0;
  int calls = 0;
  int steps = 0;

  double* Find(const std::string& name) {
    for (Scope* at = scope.get(); at != nullptr; at = at->outer.get()) {
      if (const auto cell = at->cells.find(name); cell != at->cells.end())
        return cell->second.get();
    }
    return &globals[name];
  }

  double Value(const Node& node) {
    if (++steps > 200000) throw TooLong();
    const auto of = [&](std::size_t i) { return Value(*node.values[i]); };
    switch (node.kind) {
      case Kind::Number:
        return node.number;
      case Kind::Variable:
        return *Find(node.text);
      case Kind::Binary: {
        const double a = of(0);
        const double b = of(1);
        return node.text == "+" ? a + b : node.text == "-" ? a - b : a * b;
      }
      case Kind::Compare: {
        const double a = of(0);
        const double b = of(1);
        if (node.text == "=") return a == b;
        if (node.text == "<>") return a != b;
        if (node.text == "<") return a < b;
        if (node.text == "<=") return a <= b;
        return node.text == ">" ? a > b : a >= b;
      }
      case Kind::And: {
        const double a = of(0);
        return a == 0 ? a : of(1);
      }
      case Kind::Or: {
        const double a = of(0);
        return a != 0 ? a : of(1);
      }
      case Kind::Not:
        return of(0) == 0;
      case Kind::Negate:
        return -of(0);
      default:
        return Call(node.number, of(0));
    }
  }

  double Call(double index, double value) {
    if (++calls > 300) return 1;
    const auto found = kept.find(index);
    if (found == kept.end()) return 2;
    const Closure closure = found->second;
    const auto saved = std::exchange(scope, std::make_shared<Scope>());
    scope->outer = closure.scope;
    scope->cells[closure.node->text] = std::make_shared<double>(value);
    Commands(closure.node->blocks[0]);
    // The value behind the block belongs to the function, not to the block.
    const double out = way == Way::Return ? result : Value(*closure.node->values[0]);
    way = Way::On;
    scope = saved;
    return out;
  }

  void Commands(const std::vector<std::unique_ptr<Node>>& block) {
    for (const auto& command : block) {
      Command(*command);
      if (way != Way::On) return;
    }
  }

  void Block(const std::vector<std::unique_ptr<Node>>& block) {
    const auto saved = scope;
    scope = std::make_shared<Scope>();
    scope->outer = saved;
    Commands(block);
    scope = saved;
  }

  /// A function that was made before a variable was declared does not see it, so each declaration
  /// begins a scope.
  Cell Declare(const std::string& name, double value) {
    const auto inner = std::make_shared<Scope>();
    inner->outer = scope;
    scope = inner;
    return scope->cells[name] = std::make_shared<double>(value);
  }

  /// Whether the loop that has just run a turn goes on.
  bool GoesOn() {
    if (way == Way::On) return true;
    if (way == Way::Return) return false;
    if (--loopsToLeave > 0) return false;
    return std::exchange(way, Way::On) == Way::Continue;
  }

  void Command(const Node& node) {
    if (++steps > 200000) throw TooLong();
    switch (node.kind) {
      case Kind::Local:
        Declare(node.text, Value(*node.values[0]));
        break;
      case Kind::Assign: {
        const double value = Value(*node.values[0]);
        *Find(node.text) = value;
        break;
      }
      case Kind::Swap: {
        double* a = Find(node.text);
        double* b = Find(node.values[0]->text);
        const double first = *b;
        const double second = *a;
        // Assigned from the last to the first.
        *b = second;
        *a = first;
        break;
      }
      case Kind::Print: {
        std::vector<double> line;
        for (const auto& value : node.values) line.push_back(Value(*value));
        trace.push_back(std::move(line));
        break;
      }
      case Kind::Break:
      case Kind::Continue:
        way = node.kind == Kind::Break ? Way::Break : Way::Continue;
        loopsToLeave = static_cast<int>(node.number);
        break;
      case Kind::Return:
        result = Value(*node.values[0]);
        way = Way::Return;
        break;
      case Kind::If: {
        std::size_t chosen = 0;
        while (chosen < node.values.size() && Value(*node.values[chosen]) == 0) ++chosen;
        if (chosen < node.blocks.size()) Block(node.blocks[chosen]);
        break;
      }
      case Kind::Switch: {
        const double value = Value(*node.values[0]);
        auto chosen = static_cast<std::size_t>(node.number);
        for (std::size_t i = 0; i < node.blocks.size(); ++i) {
          const auto at = static_cast<double>(i);
          if (i != static_cast<std::size_t>(node.number) && (value == at || value == at + 10)) {
            chosen = i;
          }
        }
        Block(node.blocks[chosen]);
        break;
      }
      case Kind::Block:
        Block(node.blocks[0]);
        break;
      case Kind::While:
        Declare(node.text, 0);
        while (*Find(node.text) < node.number && Value(*node.values[0]) != 3) {
          *Find(node.text) += 1;
          Block(node.blocks[0]);
          if (!GoesOn()) break;
        }
        break;
      case Kind::Repeat:
        Declare(node.text, 0);
        do {
          *Find(node.text) += 1;
          Block(node.blocks[0]);
          if (!GoesOn()) break;
        } while (!(*Find(node.text) >= node.number || Value(*node.values[0]) == 3));
        break;
      case Kind::For: {
        double index = Value(*node.values[0]);
        const double limit = Value(*node.values[1]);
        const double step = Value(*node.values[2]);
        while (step > 0 ? index <= limit : index >= limit) {
          if (++steps > 200000) throw TooLong();
          const auto saved = scope;
          const Cell variable = Declare(node.text, index);
          Commands(node.blocks[0]);
          // The block may have changed the variable, and that counts.
          index = *variable;
          scope = saved;
          if (!GoesOn()) break;
          index += step;
        }
        break;
      }
      case Kind::Keep:
        kept[node.number] = {&node, scope};
        break;
      default:
        break;
    }
  }
};

std::optional<Trace> Model::Run() const {
  Runner runner;
  try {
    runner.Commands(program_);
  } catch (const Runner::TooLong&) {
    return std::nullopt;
  }
  return std::move(runner.trace);
}

}  // namespace quillmere::qmc
