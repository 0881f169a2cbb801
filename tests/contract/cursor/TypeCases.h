#pragma once

#include <vector>

namespace lumora::test {

struct TypeCase {
  char const* mName;
  std::vector<char const*> mCells;  // SQL of values, the ends of the range among them
};

// Every type that a column of a result can have, VARIANT apart.
std::vector<TypeCase> const& ScalarTypeCases();
std::vector<TypeCase> const& OtherTypeCases();

}  // namespace lumora::test
