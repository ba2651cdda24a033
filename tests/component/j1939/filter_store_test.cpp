#include "unit/j1939/filter_store.h"

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/test_folder.h"

namespace unit {
namespace {

class FilterStoreTest : public ::testing::Test {
 protected:
  const TestFolder folder_;
  const std::string file_ = folder_.Path() / "filters";
};

TEST_F(FilterStoreTest, AServiceThatWasKilledFindsItsFiltersAgain) {
  {
    FilterStore store(file_);
    EXPECT_TRUE(store.Add({reach_t::STANDARD, 0x18FF00D0, 0xFFFFFF, "first"}));
    EXPECT_TRUE(store.Add({reach_t::STANDARD, 0x18FF00D0, 0xFFFFFF, "Orvik Receive Channel"}));
    EXPECT_TRUE(store.Add({reach_t::MULTIPACKET, 0x18FF4101, 0, "long"}));
  }
  {
    FilterStore again(file_);
    EXPECT_EQ(again.Count(), 2U);
    ASSERT_TRUE(again.Has(0x18FF00D0));
    EXPECT_FALSE(again.Has(0x18FF4101)) << "a multi-packet filter takes no single frames";
    EXPECT_EQ(again.All(reach_t::STANDARD).at(0x18FF00D0).channelName, "Orvik Receive Channel");
    EXPECT_EQ(again.All(reach_t::STANDARD).at(0x18FF00D0).mask, 0xFFFFFFU);
    again.Remove();
  }
  EXPECT_EQ(FilterStore(file_).Count(), 0U);
}

TEST_F(FilterStoreTest, ADamagedFileGivesWhatCanBeRead) {
  std::ofstream(file_) << "standard 1 ff a\n\nstandard zz ff b\nother 2 ff c\nstandard ffffffff ff d\nstandard "
                          "3\nstandard 4 0 e";
  const FilterStore store(file_);
  EXPECT_EQ(store.Count(), 2U);
  EXPECT_TRUE(store.Has(1));
  EXPECT_TRUE(store.Has(4));
}

TEST_F(FilterStoreTest, FiltersAreBounded) {
  FilterStore store(file_);
  for (std::uint32_t i = 0; i < FilterStore::MAX_FILTERS; ++i)
    ASSERT_TRUE(store.Add({reach_t::STANDARD, i, 0, "x"}));
  EXPECT_FALSE(store.Add({reach_t::STANDARD, 5000, 0, "x"}));
  EXPECT_TRUE(store.Add({reach_t::STANDARD, 5, 0, "y"}));
}

}  // namespace
}  // namespace unit
