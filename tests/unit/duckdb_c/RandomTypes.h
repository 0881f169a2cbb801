#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace lumora::duckdb_c::test {

// A column type in SQL with values of it as SQL expressions.
struct RandomColumn {
  std::string mType;
  std::vector<std::string> mValues;
};

// Makes random types, nested to a depth, with names of every awkward kind, and values of them that
// are empty and NULL at every level.
class RandomTypes {
 public:
  explicit RandomTypes(std::uint64_t inSeed) : mRandom(inSeed) {}

  RandomColumn MakeColumn(std::size_t inDepth, std::size_t inValueCount);

 private:
  struct Node;

  Node MakeNode(std::size_t inDepth);
  Node MakeScalar();
  std::vector<Node> MakeMembers(std::size_t inDepth);
  std::string TypeOf(Node const& inNode) const;
  std::string MembersOf(Node const& inNode) const;
  std::string ValueOf(Node const& inNode);
  std::string PresentValueOf(Node const& inNode);
  std::string Elements(Node const& inNode, std::size_t inCount);
  std::string StructOf(Node const& inNode);
  std::string MapOf(Node const& inNode);
  std::string UnionOf(Node const& inNode);
  std::size_t Below(std::size_t inLimit) { return mRandom() % inLimit; }

  std::mt19937_64 mRandom;
};

}  // namespace lumora::duckdb_c::test
