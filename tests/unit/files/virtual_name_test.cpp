#include "files/virtual_name.h"

#include <gtest/gtest.h>

#include "files/virtual_file.h"

namespace quillmere {
namespace {

TEST(NormaliseName, TurnsBackslashesAndDropsCurrentDirectories) {
  EXPECT_EQ(NormaliseName("a\\b\\c"), "a/b/c");
  EXPECT_EQ(NormaliseName("./a/./b"), "a/b");
  EXPECT_EQ(NormaliseName(".\\a"), "a");
  EXPECT_EQ(NormaliseName("../a/../b"), "../a/../b");
  EXPECT_EQ(NormaliseName("././a"), "a");
  EXPECT_EQ(NormaliseName(""), "");
}

TEST(NormaliseName, LeavesLongNamesAlone) {
  const std::string below = "a\\" + std::string(normalisedNameLimit - 3, 'x');
  EXPECT_EQ(NormaliseName(below)[1], '/');
  EXPECT_EQ(NormaliseName(below + "x")[1], '\\');
}

TEST(ChunkName, ComesApartAsItWasMade) {
  const std::string name = MakeChunkName("pics/Flower.png", 100, 2000, 30, "/tmp/a b*c.qma");
  EXPECT_EQ(name, ":::chunk130:2000*Flower.png//tmp/a b*c.qma");
  const auto chunk = ParseChunkName(name);
  ASSERT_TRUE(chunk);
  EXPECT_FALSE(chunk->inMemory);
  EXPECT_EQ(chunk->base, 130);
  EXPECT_EQ(chunk->size, 2000);
  EXPECT_EQ(chunk->displayName, "Flower.png");
  EXPECT_EQ(chunk->container, "/tmp/a b*c.qma");
}

TEST(ChunkName, KeepsTheNameOfAPartOfAPart) {
  const std::string inner = MakeChunkName("x.png", 5, 6, 0, "/c");
  EXPECT_EQ(DisplayNameOfChunk(MakeChunkName(inner, 1, 2, 0, inner)), "x.png");
}

TEST(ChunkName, RefusesWhatDoesNotFit) {
  for (const char* name :
       {":::chunk", ":::chunk1", ":::chunk1:2", ":::chunk1:2*", ":::chunk1:2*name",
        ":::chunk:2*n/c", ":::chunk1:*n/c", ":::chunk-1:2*n/c", ":::chunk1:-2*n/c",
        ":::chunk1;2*n/c", ":::chunk 1:2*n/c", ":::chunk9223372036854775807:1*n/c",
        ":::chunk99999999999999999999:1*n/c", ":::chunkS:1*n/c", ":::chunkX1:1*n/c"}) {
    EXPECT_FALSE(ParseChunkName(name)) << name;
  }
  EXPECT_TRUE(ParseChunkName(":::chunk9223372036854775806:1*n/c"));
}

TEST(MemoryName, HoldsTwoWords) {
  const auto memory = ParseMemoryName(std::string_view(":::memory\0\0\1\2\0\0\0\3", 17));
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->number, 0x102u);
  EXPECT_EQ(memory->size, 3u);
  EXPECT_FALSE(ParseMemoryName(":::memory"));
  EXPECT_FALSE(ParseMemoryName(std::string_view(":::memory\0\0\1\2\0\0\0", 16)));
}

}  // namespace
}  // namespace quillmere
