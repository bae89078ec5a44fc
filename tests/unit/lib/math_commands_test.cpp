#include <gtest/gtest.h>

#include <cmath>

#include "base/random.h"
#include "unit/lib/machine.h"

namespace quillmere {
namespace {

TEST(MathCommands, Calculate) {
  CheckCommands({
      {"Div", {1, 0}, "error 1089"},
      {"Div", {1, 4}, "0.25"},
      {"Mod", {-7.5, 2}, "-1.5"},
      {"Mod", {1, 0}, "error 1089"},
      {"Rt", {8, 3}, "2"},
      {"Rt", {8, 0.5}, "error 1089"},
      {"Rt", {8, -1}, "error 1055"},
      {"Int", {-1.9}, "-1"},
      {"Int", {1e10}, "2147483647"},
      {"Int", {NAN}, "-2147483648"},
      {"Round", {2.5}, "3"},
      {"Round", {-2.5}, "-3"},
      {"Round", {0.49999999999999994}, "0"},
      {"Frac", {-1.25}, "-0.25"},
      {"Wrap", {11, 0, 10}, "1"},
      {"Wrap", {-1, 0, 10}, "9"},
      {"Wrap", {10, 0, 10}, "0"},
      {"Wrap", {25, 0, 10}, "15"},
      {"Limit", {5, 0, 3}, "3"},
      {"Limit", {-5, 0, 3}, "0"},
      {"Sgn", {-0.1}, "-1"},
      {"Max", {1, 2, 3, 4}, "4"},
      {"Min", {3, "2", 4}, "2"},
      {"Max", {1}, "error 1014"},
      {"Max", {1, "x"}, "error 1138"},
      {"Log", {8, 2}, "3"},
      {"Ld", {1024}, "10"},
      {"Deg", {3.141592653589793}, "180"},
      {"FrExp", {8}, "0.5 4"},
      {"LdExp", {0.5, 4}, "8"},
      {"ATan2", {1, 0}, "1.5707963267949"},
  });
}

TEST(MathCommands, WorkOnBits) {
  CheckCommands({
      {"Shl", {1, 31}, "2147483648"},
      {"Shl", {1, 32}, "0"},
      {"Shl", {1, 64}, "1"},
      {"Shr", {-1, 28}, "15"},
      {"Shr", {-1, -1}, "0"},
      {"Sar", {-8, 1}, "-4"},
      {"Sar", {-8, 40}, "-1"},
      {"Sar", {8, 40}, "0"},
      {"Rol", {2147483649.0, 1}, "3"},
      {"Rol", {0x81, 1, 7}, "3"},
      {"Rol", {0x1234, 4, 6}, "9025"},
      {"Rol", {0x81, 8, 7}, "129"},
      {"Ror", {3, 1, 7}, "129"},
      {"Ror", {1, 1}, "2147483648"},
      {"Rol", {1, 1, 2}, "error 1055"},
      {"Ror", {1, 1, 2}, "error 1055"},
      {"BitTest", {-1, 31}, "1"},
      {"BitTest", {1, 32}, "error 1055"},
      {"BitSet", {0, 31}, "2147483648"},
      {"BitSet", {0, -1}, "error 1055"},
      {"BitClear", {-1, 0}, "4294967294"},
      {"BitXor", {-1, 1}, "4294967294"},
      {"BitComplement", {0}, "4294967295"},
      {"Cast", {255, 1, 7}, "-1"},
      {"Cast", {-1, 0, 6}, "65535"},
      {"Cast", {4294967295.0, 1, 1}, "-1"},
      {"Cast", {-1, 0, 1}, "4294967295"},
      {"Cast", {1, 1, 2}, "error 1055"},
  });
}

TEST(MathCommands, DrawFromTheSequenceOfTheProgram) {
  Machine machine;
  qmRandomState expected;
  qmRandomSeed(machine.host.random, 42);
  qmRandomSeed(expected, 42);
  for (int i = 0; i < 100; ++i) {
    const auto draw = static_cast<int>(qmRandomDouble(expected) * 6);
    EXPECT_EQ(machine.Call("Rnd", {6}), std::to_string(draw));
  }
  EXPECT_EQ(machine.Call("Rnd", {1}), "0");
  EXPECT_EQ(machine.Call("Rnd", {0.5}), "error 1089");
  EXPECT_EQ(machine.Call("Rnd", {-1}), "error 1055");
  EXPECT_EQ(machine.Call("RndF", {1}), "error 1193");
}

}  // namespace
}  // namespace quillmere
