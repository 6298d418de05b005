#include "platform/text/qc_list.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/text/qc_string.h"

namespace {

std::vector<int> ItemsOf(const QCList<int>& list) { return {list.begin(), list.end()}; }

TEST(QCList, KeepsTheOrderOfInsertion) {
  QCList<int> list;
  EXPECT_TRUE(list.IsEmpty());
  list.Reserve(3);
  EXPECT_TRUE(list.IsEmpty());
  for (const int item : {3, 1, 2}) EXPECT_EQ(item, list.AddTail(item));
  EXPECT_EQ(3u, list.GetCount());
  EXPECT_EQ((std::vector<int>{3, 1, 2}), ItemsOf(list));
  EXPECT_EQ(1, list.GetAt(1));
  EXPECT_EQ(2, list[2]);
}

TEST(QCList, InsertsAndRemovesByIndex) {
  QCList<int> list;
  list.InsertAt(0, 2);
  list.InsertAt(0, 1);
  list.InsertAt(2, 3);
  EXPECT_EQ((std::vector<int>{1, 2, 3}), ItemsOf(list));
  list.RemoveAt(1);
  EXPECT_EQ((std::vector<int>{1, 3}), ItemsOf(list));
  list.RemoveAll();
  EXPECT_TRUE(list.IsEmpty());
}

TEST(QCList, ChangesElementsInPlace) {
  QCList<QCString> list;
  list.AddTail(L"a") += L"b";
  list[0] += L"c";
  list.GetAt(0) += L"d";
  for (QCString& item : list) item += L"e";
  EXPECT_EQ(L"abcde", list[0]);
}

TEST(QCList, TakesWhatCanOnlyBeMoved) {
  QCList<std::unique_ptr<int>> list;
  list.AddTail(std::make_unique<int>(7));
  list.InsertAt(0, std::make_unique<int>(8));
  EXPECT_EQ(7, *list[1]);
}

TEST(QCList, CopiesItsElements) {
  QCList<int> list;
  list.AddTail(1);
  QCList<int> copy(list);
  copy[0] = 2;
  EXPECT_EQ(1, list[0]);
}

}  // namespace
