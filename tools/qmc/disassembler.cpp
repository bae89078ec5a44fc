#include "qmc/disassembler.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "qmc/folding.h"
#include "vm/opcodes.h"

namespace quillmere::qmc {
namespace {

constexpr std::size_t shownTextLimit = 40;

std::string Quoted(const std::string& text) {
  std::ostringstream out;
  out << '"';
  for (const char c : text.substr(0, shownTextLimit)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out << '\\' << c;
    } else if (c == '\n') {
      out << "\\n";
    } else if (byte < 32 || byte == 127) {
      out << '\\' << std::setw(3) << std::setfill('0') << int{byte};
    } else {
      out << c;
    }
  }
  out << (text.size() > shownTextLimit ? "\"..." : "\"");
  return out.str();
}

class Lister {
 public:
  Lister(const ImageFunction& function, std::string path, std::ostream& out)
      : function_(function), path_(std::move(path)), out_(out) {}

  void Run() {
    out_ << "function " << path_;
    if (!function_.source.empty()) out_ << " of " << function_.source;
    out_ << ", line " << function_.lineDefined << ": " << int{function_.paramCount} << " parameters"
         << (function_.isVarArg ? " and more" : "") << ", " << int{function_.maxStack}
         << " registers, " << function_.constants.size() << " constants, " << function_.code.size()
         << " instructions\n";
    Upvalues();
    for (std::size_t pc = 0; pc < function_.code.size(); ++pc) Instruction(pc);
    out_ << '\n';
    for (std::size_t i = 0; i < function_.functions.size(); ++i) {
      Lister(function_.functions[i], path_ + '.' + std::to_string(i), out_).Run();
    }
  }

 private:
  void Upvalues() {
    if (function_.upvalueCount == 0) return;
    out_ << "  upvalues:";
    for (std::size_t i = 0; i < function_.upvalueCount; ++i) {
      out_ << ' ' << 'u' << i;
      if (i < function_.upvalueNames.size()) out_ << '=' << function_.upvalueNames[i];
    }
    out_ << '\n';
  }

  void Instruction(std::size_t pc) {
    const VmInstruction word = function_.code[pc];
    out_ << std::setw(6) << pc << "  ";
    if (pc < function_.lines.size()) {
      out_ << '[' << function_.lines[pc] << "]\t";
    } else {
      out_ << "[-]\t";
    }
    if (opCode(word) >= opCount) {
      out_ << "unknown " << word << '\n';
      return;
    }
    const VmOpInfo& info = vmOpInfo(opCode(word));
    std::ostringstream operands;
    std::string note;
    switch (info.format) {
      case VmOpFormat::ABC:
        OperandsABC(word, info, operands, note);
        break;
      case VmOpFormat::ABx:
        OperandsABx(word, info, operands, note);
        break;
      case VmOpFormat::AsBx:
        operands << 'r' << opA(word);
        note = "to " + std::to_string(static_cast<long>(pc) + 1 + opSBx(word));
        break;
      case VmOpFormat::MsJ:
        if (opMode(word) == opJumpSubroutine) operands << "gosub";
        note = "to " + std::to_string(static_cast<long>(pc) + 1 + opSJ(word));
        break;
    }
    AddName(word, info, pc, note);
    out_ << std::left << std::setw(13) << info.name;
    if (note.empty()) {
      out_ << operands.str();
    } else {
      out_ << std::setw(16) << operands.str() << "; " << note;
    }
    out_ << std::right << '\n';
  }

  void OperandsABC(VmInstruction word, const VmOpInfo& info, std::ostream& out,
                   std::string& note) const {
    // A test's A is the wanted result, not a register.
    out << (info.isTest && !info.writesA && opCode(word) != OP_TFORLOOP ? "" : "r") << opA(word);
    Operand(info.b, opB(word), out, note);
    Operand(info.c, opC(word), out, note);
  }

  void Operand(VmOpArgument kind, int value, std::ostream& out, std::string& note) const {
    switch (kind) {
      case VmOpArgument::None:
        break;
      case VmOpArgument::Plain:
        out << ' ' << value;
        break;
      case VmOpArgument::Register:
        out << " r" << value;
        break;
      case VmOpArgument::Rk:
        if (!vmIsConstant(value)) {
          out << " r" << value;
        } else {
          out << " k" << vmConstantIndex(value);
          Append(note, Constant(vmConstantIndex(value)));
        }
        break;
    }
  }

  void OperandsABx(VmInstruction word, const VmOpInfo& info, std::ostream& out,
                   std::string& note) const {
    out << 'r' << opA(word);
    if (info.bxIsConstant) {
      out << " k" << opBx(word);
      note = Constant(opBx(word));
    } else if (opCode(word) == OP_CLOSURE) {
      out << ' ' << opBx(word);
      note = "function " + path_ + '.' + std::to_string(opBx(word));
    } else {
      const int base = opBx(word) & ~(vmListBatch - 1);
      out << ' ' << opBx(word);
      note = "from index " + std::to_string(base);
      if (opCode(word) == OP_SETLIST) {
        note += " to " + std::to_string(opBx(word));
      }
    }
  }

  /// The variable that the instruction writes, when the register has a name there.
  void AddName(VmInstruction word, const VmOpInfo& info, std::size_t pc, std::string& note) const {
    if (!info.writesA) return;
    const auto at = static_cast<std::int32_t>(pc) + 1;
    int reg = opA(word);
    for (const ImageLocal& local : function_.locals) {
      if (local.startPc > at || at >= local.endPc) continue;
      if (reg-- == 0) Append(note, "-> " + local.name);
    }
  }

  static void Append(std::string& note, const std::string& text) {
    if (!note.empty()) note += ' ';
    note += text;
  }

  [[nodiscard]] std::string Constant(int index) const {
    if (static_cast<std::size_t>(index) >= function_.constants.size()) return "?";
    const ImageConstant& constant = function_.constants[static_cast<std::size_t>(index)];
    if (const auto* number = std::get_if<double>(&constant)) return NumberText(*number);
    if (const auto* text = std::get_if<std::string>(&constant)) return Quoted(*text);
    return "nil";
  }

  const ImageFunction& function_;
  std::string path_;
  std::ostream& out_;
};

}  // namespace

std::string Disassemble(const ImageFunction& function) {
  std::ostringstream out;
  Lister(function, "main", out).Run();
  return out.str();
}

}  // namespace quillmere::qmc
