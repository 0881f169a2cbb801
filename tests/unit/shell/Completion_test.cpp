#include "Completion.h"

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

using Words = std::vector<std::string>;

struct Case {
  char const* mLine;
  Words mCandidates;
  char const* mCommon;
  std::size_t mWordLength;
};

TEST(Completion, OffersNothingWhereNothingFits) {
  for (char const* line : {"", "SELECT ", "zzz", "SELECT zzz", "(", ".zzz"}) {
    EXPECT_TRUE(Complete(line, {".open"}, {"orders"}).mCandidates.empty()) << line;
  }
}

TEST(Completion, OffersKeywordsNamesAndCommandsByTheirBeginning) {
  Words const commands = {".open", ".output", ".quit"};
  Words const names = {"orders", "Order Items", "künstler", "kürzel", "orders", "say\"so"};
  Case const cases[] = {
      {"SEL", {"SELECT"}, "SELECT", 3},
      {"sel", {"select"}, "select", 3},
      {"Sel", {"select"}, "select", 3},
      {"FROM ord", {"\"Order Items\"", "order", "orders"}, "ord", 3},
      {"FROM orders", {"orders"}, "orders", 6},
      {"a.ord", {"\"Order Items\"", "order", "orders"}, "ord", 3},
      {"k", {"key", "künstler", "kürzel"}, "k", 1},
      {"kü", {"künstler", "kürzel"}, "kü", 3},
      {"say", {"\"say\"\"so\""}, "\"say\"\"so\"", 3},
      {".", {".open", ".output", ".quit"}, ".", 1},
      {".o", {".open", ".output"}, ".o", 2},
      {".ou", {".output"}, ".output", 3},
      {".read ord", {"\"Order Items\"", "order", "orders"}, "ord", 3},
  };
  for (Case const& c : cases) {
    Completions const found = Complete(c.mLine, commands, names);
    EXPECT_EQ(found.mCandidates, c.mCandidates) << c.mLine;
    EXPECT_EQ(found.mCommon, c.mCommon) << c.mLine;
    EXPECT_EQ(found.mWordLength, c.mWordLength) << c.mLine;
  }
}

}  // namespace
}  // namespace lumora::shell
