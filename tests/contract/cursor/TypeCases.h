#pragma once

#include <vector>

namespace lumora::test {

struct TypeCase {
  char const* mName;
  std::vector<char const*> mCells;  // SQL of values, the ends of the range among them
};

// Every type that a column of a result can have, VARIANT apart.
std::vector<TypeCase> const& NumberTypeCases();
std::vector<TypeCase> const& TimeTypeCases();
std::vector<TypeCase> const& OtherTypeCases();

}  // namespace lumora::test
