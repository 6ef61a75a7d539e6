#include "tympora/node/collection.hpp"

#include <gtest/gtest.h>

#include "tympora/node/node.hpp"

namespace tympora {
namespace {

struct Item : StandaloneNode {};  // any CNode will do
using Items = Collection<CNode>;

int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

TEST(CollectionTest, PositionsCountFromOneInOrderOfAddition) {
  Items list;
  std::vector<std::shared_ptr<CNode>> added;
  for (int i = 0; i < 5; ++i) {
    added.push_back(std::make_shared<Item>());
    list.Add(added.back(), "k" + std::to_string(i));
  }
  ASSERT_EQ(list.Count(), 5);
  for (int32_t pos = 1; pos <= 5; ++pos) {
    EXPECT_EQ(list.Item(pos), added[pos - 1]) << "the very object added, not a copy";
    EXPECT_EQ(list.Key(pos), "k" + std::to_string(pos - 1));
  }
  int visited = 0;
  for (const auto& item : list) EXPECT_EQ(item, added[visited++]);
  EXPECT_EQ(visited, 5);
}

TEST(CollectionTest, DuplicateKeyRaises457AndLeavesListUnchanged) {
  Items list;
  auto first = std::make_shared<Item>();
  list.Add(first, "7");
  EXPECT_EQ(ErrorOf([&] { list.Add(std::make_shared<Item>(), "7"); }), kErrDuplicateKey);
  ASSERT_EQ(list.Count(), 1);
  EXPECT_EQ(list.Item(1), first);
  // Keys are compared exactly: other text, other key.
  list.Add(std::make_shared<Item>(), "07");
  list.Add(std::make_shared<Item>(), " 7");
  EXPECT_EQ(list.Count(), 3);
}

TEST(CollectionTest, BadArgumentsRaiseClearErrors) {
  Items list;
  list.Add(std::make_shared<Item>(), "a");
  const struct {
    const char* name;
    std::function<void()> call;
    int32_t number;
  } cases[] = {
      {"item 0", [&] { list.Item(0); }, kErrInvalidCall},
      {"item past the end", [&] { list.Item(2); }, kErrInvalidCall},
      {"remove 0", [&] { list.Remove(0); }, kErrInvalidCall},
      {"remove past the end", [&] { list.Remove(2); }, kErrInvalidCall},
      {"absent item", [&] { list.Add(nullptr, "b"); }, kErrObjectNotSet},
      {"absent node", [&] { list.AddNode(nullptr, "b"); }, kErrObjectNotSet},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ErrorOf(c.call), c.number);
    EXPECT_EQ(list.Count(), 1);
  }
}

TEST(CollectionTest, RemoveKeepsOrderAndFreesTheKey) {
  Items list;
  for (const char* key : {"a", "b", "c", "d"}) list.Add(std::make_shared<Item>(), key);
  list.Remove(2);  // b
  list.Remove(3);  // d
  ASSERT_EQ(list.Count(), 2);
  EXPECT_EQ(list.Key(1), "a");
  EXPECT_EQ(list.Key(2), "c");
  EXPECT_FALSE(list.Contains("b"));
  list.Add(std::make_shared<Item>(), "b");  // the key is free again
  EXPECT_EQ(list.Key(3), "b");
}

TEST(CollectionTest, TypedListRefusesNodesOfAnotherClass) {
  struct Other : StandaloneNode {};
  Collection<Item> list;
  EXPECT_EQ(ErrorOf([&] { list.AddNode(std::make_shared<Other>(), "x"); }), kErrTypeMismatch);
  list.AddNode(std::make_shared<Item>(), "x");
  EXPECT_EQ(list.Count(), 1);
}

}  // namespace
}  // namespace tympora
