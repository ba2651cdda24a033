// A record as main makes it, beside a database of the test's own.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include "platform/shared_memory.h"

#include "core/orvik_data.h"
#include "services/dbshm.h"
#include "tests/unit/services/fake_service.h"

class RecordTest : public testing::Test {
 protected:
  RecordTest() {
    DBSHM::Init();
    pthread_mutex_init(&record.beeperMutex, nullptr);
  }
  ~RecordTest() override {
    pthread_mutex_destroy(&record.beeperMutex);
    platform::UnlinkSharedObject(dbshm_layout::OBJECT_NAME);
  }

  // The value as a double, -1.0 where it is not valid.
  static double Value(unsigned handle) {
    double value = 0;
    return DBSHM::Read(handle, value) == 1 ? value : -1.0;
  }

  RuntimeDirectoryForTest directory;
  orvikData_t record;
};
