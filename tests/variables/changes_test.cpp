#include "tests/support/fixture.h"

namespace {

class Changes : public TavTest {
 protected:
  TavNumVar x = num("x", 0), bare{new (env.getImpl()) TavNumVarI(env.getImpl(), "bare")};
  TavIntVar i = integer("i", 0);
};

TEST_F(Changes, EverySetterReportsBothBoundsAsTheyStand) {
  const std::pair<std::function<void()>, const char*> kCases[] = {
      {[&] { x.setLB(2); }, "bounds x 2 10; "},
      {[&] { x.setUB(3); }, "bounds x 2 3; "},
      {[&] { x.setBounds(4, 5); }, "bounds x 4 5; "},
      {[&] { x.setBounds(4, 5); }, "bounds x 4 5; "},  // unchanged: reported all the same
      {[&] { bare.setLB(1); }, "bounds bare 1 inf; "},
      {[&] { i.setMin(1); }, "bounds i 1 10; "},
      {[&] { i.setMax(4); }, "bounds i 1 4; "},
      {[&] { i.setBounds(2, 3); }, "bounds i 2 3; "}};
  for (const auto& [edit, expected] : kCases) EXPECT_EQ(records(edit), expected);
}

TEST_F(Changes, ValuesAreReportedAsTheCallerGaveThemOrAsTheyWereConverted) {
  const TavNumArray list = nums({1.5});
  TavIntArray wholes = ints({7});
  const TavArrayI* reported = nullptr;
  env.getImpl()->setChangeListener([&](const TavChange& change) {
    const auto& c = static_cast<const TavSetNumVarPossibleValues&>(change);
    reported = c.getNumValues().getImpl() ? c.getNumValues().getImpl() : c.getIntValues().getImpl();
  });
  for (const TavNumVar v : {x, bare}) {
    v.setPossibleValues(list);
    EXPECT_EQ(reported, list.getImpl());
  }
  i.setPossibleValues(wholes);
  EXPECT_EQ(reported, wholes.getImpl());
  EXPECT_EQ(records([&] { i.setPossibleValues(wholes); }), "values i int [7]; ");
  EXPECT_EQ(records([&] { x.getImpl()->setPossibleValues(wholes); }), "values x num [7]; ");
  wholes[0] = 8;
  EXPECT_EQ(plain(i) + plain(x) + plain(bare), "i{7} x{7} bare{1.5} ");
  TavIntArray ownInts = i.getImpl()->getIntValues();  // the list that a variable has may be edited and set again
  TavNumArray own = x.getImpl()->getNumValues();
  ownInts.add(9), own.add(9.5);
  EXPECT_EQ(records([&] { i.setPossibleValues(ownInts), x.setPossibleValues(own); }),
            "values i int [7, 9]; values x num [7, 9.5]; ");
  EXPECT_EQ(i.getImpl()->getUB() + x.getUB(), 18.5);
}

TEST_F(Changes, AnArraysBoundsChangeInPlaceForEverybodyAndAreOneRecord) {
  const TavNumVar sharer(env, 0, 10, "sharer");
  const TavNumVarArray array(env, 3, x, TavNumVar(), bare);
  const TavNumArray lbs = nums({1, 2, 3}), ubs = nums({5, 6, 7});
  EXPECT_EQ(records([&] { array.setBounds(lbs, ubs); }), "array 3 [1, 2, 3] [5, 6, 7]; ");
  EXPECT_EQ(plain(x) + plain(sharer) + plain(bare), "x[1 .. 5] sharer[1 .. 5] bare[3 .. 7] ");
  EXPECT_TRUE(x.getImpl()->getDomain()->isShared());
  EXPECT_EQ(plain(TavNumVar(env, 0, 10, "fresh")), "fresh[0 .. 10] ");
  EXPECT_EQ(records([&] { TavNumVarArray(env, 2).setBounds(lbs, ubs); }), "");
}

}  // namespace
