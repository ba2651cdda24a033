// The database that its owner makes of the list of parameters, as other processes see it.
#include "unit/database/database_owner.h"

#include <csignal>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "src/services/dbshm.h"
#include "tests/support/test_folder.h"
#include "unit/database/attach.h"
#include "unit/database/parameter_list.h"

namespace unit {
namespace {

TEST(ParameterListTest, AMissingFileIsRefused) {
  EXPECT_THROW(ReadParameterFile("/nonexistent/p.xml"), std::runtime_error);
}

const std::vector<parameter_t> PARAMETERS = {{"OrvikTires", 7, 2.5, true},
                                             {"OrvikLoad", 1, std::nullopt, false}};

// Runs `body` in a process of its own. False when it returns false or does not return.
template <class Body>
bool InProcess(const Body& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body() ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class DatabaseOwnerTest : public ::testing::Test {
 protected:
  RuntimeDirectoryForTest directory_;
};

TEST_F(DatabaseOwnerTest, OthersFindNamesAndFirstValuesInACompleteDatabase) {
  EXPECT_EQ(LookAtDatabase(), database_state_t::NONE);
  MakeDatabase(PARAMETERS);
  EXPECT_EQ(LookAtDatabase(), database_state_t::COMPLETE);
  EXPECT_TRUE(InProcess([] {
    DBSHM::Open();  // as another program does: the view inherited by the fork is not used
    double tires = 0;
    double load = 1;
    return DBSHM::getHandle("OrvikTires") == 7 && DBSHM::Read(7, tires) == 1 && tires == 2.5 &&
           DBSHM::Read(1, load) == 0 && ReadNameTable().size() == 2;
  }));
  EXPECT_TRUE(InProcess([] {
    EXPECT_THROW(MakeDatabase(PARAMETERS), std::runtime_error);
    return !testing::Test::HasFailure();
  })) << "the database of a living owner is not replaced";
  RemoveDatabase();
  EXPECT_EQ(LookAtDatabase(), database_state_t::NONE);
}

TEST_F(DatabaseOwnerTest, TheDatabaseOfAKilledOwnerIsMadeAnew) {
  EXPECT_FALSE(InProcess([] {
    MakeDatabase(PARAMETERS);
    DBSHM::Write(7, 99.0);
    return raise(SIGKILL) == 0;
  }));
  EXPECT_NE(LookAtDatabase(), database_state_t::COMPLETE);
  MakeDatabase(PARAMETERS);
  double tires = 0;
  EXPECT_EQ(DBSHM::Read(7, tires), 1);
  EXPECT_EQ(tires, 2.5);
  EXPECT_TRUE(AttachDatabase(0)) << "the owner is attached to its database";
  RemoveDatabase();
}

}  // namespace
}  // namespace unit
