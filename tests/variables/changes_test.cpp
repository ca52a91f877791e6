#include "tests/support/fixture.h"

namespace {

class Changes : public TavTest {
 protected:
  /// What the records sent by `edit` say.
  std::string sentBy(const std::function<void()>& edit) {
    std::ostringstream log;
    env.getImpl()->setChangeListener([&](const TavChange& change) {
      if (change.isType(TavSetNumVarBounds::GetTypeInfo())) {
        const auto& c = static_cast<const TavSetNumVarBounds&>(change);
        log << "bounds " << c.getVar()->getName() << " " << c.getLB() << " " << c.getUB() << "; ";
        EXPECT_EQ(change.getChangedExtractable(), c.getVar());
        EXPECT_EQ(c.getVar()->getLB(), c.getLB());  // the change is made when the record goes out
      } else if (change.isType(TavSetNumVarArrayBounds::GetTypeInfo())) {
        const auto& c = static_cast<const TavSetNumVarArrayBounds&>(change);
        log << "array " << c.getVars().getSize() << " " << c.getLBs() << " " << c.getUBs() << "; ";
        EXPECT_EQ(change.getChangedExtractableArray(), c.getVars().getImpl());
      } else {
        const auto& c = static_cast<const TavSetNumVarPossibleValues&>(change);
        log << "values " << c.getVar()->getName() << " ";
        if (c.getNumValues().getImpl()) log << "num " << c.getNumValues() << (c.getNumValues().getImpl() == mine);
        if (c.getIntValues().getImpl()) log << "int " << c.getIntValues() << (c.getIntValues().getImpl() == mine);
        log << "; ";
      }
    });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return log.str();
  }
  /// The caller's own array.
  const TavArrayI* mine = nullptr;
  TavNumVar x = num("x", 0), bare{new (env.getImpl()) TavNumVarI(env.getImpl(), "bare")};
  TavIntVar i = integer("i", 0);
};

TEST_F(Changes, EverySetterReportsBothBoundsAsTheyStand) {
  EXPECT_EQ(sentBy([&] { x.setLB(2); }), "bounds x 2 10; ");
  EXPECT_EQ(sentBy([&] { x.setUB(3); }), "bounds x 2 3; ");
  EXPECT_EQ(sentBy([&] { x.setBounds(4, 5); }), "bounds x 4 5; ");
  EXPECT_EQ(sentBy([&] { x.setBounds(4, 5); }), "bounds x 4 5; ");  // unchanged: reported all the same
  EXPECT_EQ(sentBy([&] { bare.setLB(1); }), "bounds bare 1 inf; ");
  EXPECT_EQ(sentBy([&] { i.setMin(1); }), "bounds i 1 10; ");
  EXPECT_EQ(sentBy([&] { i.setMax(4); }), "bounds i 1 4; ");
  EXPECT_EQ(sentBy([&] { i.setBounds(2, 3); }), "bounds i 2 3; ");
}

TEST_F(Changes, ValuesAreReportedAsTheCallerGaveThemOrAsTheyWereConverted) {
  TavNumArray nums(env);
  nums.add(1.5);
  TavIntArray ints(env);
  ints.add(7);
  mine = nums.getImpl();
  EXPECT_EQ(sentBy([&] { x.setPossibleValues(nums); }), "values x num [1.5]1; ");
  EXPECT_EQ(sentBy([&] { bare.setPossibleValues(nums); }), "values bare num [1.5]1; ");
  mine = ints.getImpl();
  EXPECT_EQ(sentBy([&] { i.setPossibleValues(ints); }), "values i int [7]1; ");
  EXPECT_EQ(sentBy([&] { x.getImpl()->setPossibleValues(ints); }), "values x num [7]0; ");
  ints[0] = 8;
  EXPECT_EQ(plain(i) + plain(x) + plain(bare), "i{7} x{7} bare{1.5} ");
}

TEST_F(Changes, AnArraysBoundsChangeInPlaceForEverybodyAndAreOneRecord) {
  const TavNumVar sharer(env, 0, 10, "sharer");
  EXPECT_EQ(sharer.getImpl()->getDomain(), x.getImpl()->getDomain());
  TavNumVarArray array(env, 3, x, TavNumVar(), bare);
  TavNumArray lbs(env), ubs(env);
  for (const double lb : {1.0, 2.0, 3.0}) {
    lbs.add(lb);
    ubs.add(lb + 4);
  }
  EXPECT_EQ(sentBy([&] { array.setBounds(lbs, ubs); }), "array 3 [1, 2, 3] [5, 6, 7]; ");
  EXPECT_EQ(plain(x) + plain(sharer) + plain(bare), "x[1 .. 5] sharer[1 .. 5] bare[3 .. 7] ");
  EXPECT_TRUE(x.getImpl()->getDomain()->isShared());
  EXPECT_EQ(plain(TavNumVar(env, 0, 10, "fresh")), "fresh[0 .. 10] ");
  EXPECT_EQ(sentBy([&] { TavNumVarArray(env, 2).setBounds(lbs, ubs); }), "");
  EXPECT_THROW(array.setBounds(TavNumArray(), ubs), TavEmptyHandleException);
  EXPECT_THROW(array.setBounds(lbs, TavNumArray()), TavEmptyHandleException);
}

TEST_F(Changes, AChangeStaysWhenItsListenerThrows) {
  env.getImpl()->setChangeListener([](const TavChange&) { throw TavException("refused"); });
  TavNumArray nums(env);
  nums.add(1.5);
  EXPECT_THROW(x.setLB(2), TavException);
  EXPECT_EQ(x.getLB(), 2.0);
  EXPECT_THROW(x.setPossibleValues(nums), TavException);
  EXPECT_EQ(plain(x), "x{1.5} ");
  env.getImpl()->setChangeListener(nullptr);
}

}  // namespace
