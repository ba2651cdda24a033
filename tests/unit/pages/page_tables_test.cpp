#include "src/pages/page_tables.h"

#include <array>

#include <gtest/gtest.h>

#include "src/core/name_tables.h"
#include "src/pages/key_report.h"
#include "tests/support/test_record.h"

namespace {

TEST(PageTablesTest, BuildTheSetOnceAndSetMasksWithinTheMap) {
  RecordWithoutDatabase record;
  InitPages(record);
  const Page_t* first = record->target.pages.data();
  EXPECT_EQ(CurrentPageId(record), ACTION_PAGE_SPLASH);
  InitPages(record);
  EXPECT_EQ(record->target.pages.data(), first);
  EXPECT_EQ(record->target.pages.size(), 6U);
  const std::array<unsigned char, 30> masks = {0, 1, 0x33};
  SetValidKeys(record, masks.data(), 30);
  EXPECT_EQ(record->keyMasks[2], 0x33U);
  EXPECT_EQ(record->keyMasks[23], 0U);
}

}  // namespace
