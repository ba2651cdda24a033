#include "database/database_owner.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>
#include <unistd.h>

#include "database/attach.h"
#include "gmock/gmock.h"
#include "services/dbshm.h"

namespace unit {
namespace {

const std::vector<Parameter_t> PARAMETERS = {{"OrvikTires", 7, 2.5, true},
                                             {"OrvikLoad", 1, std::nullopt, false}};

// Runs `body` in a process of its own and gives back the status that it returned.
template <class Body>
int InProcess(const Body& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

class DatabaseOwnerTest : public ::testing::Test {
 protected:
  DatabaseOwnerTest() {
    std::string folder = std::filesystem::temp_directory_path() / "database.XXXXXX";
    runtime = mkdtemp(folder.data());
    setenv("ORVIK_RUNTIME_DIR", runtime.c_str(), 1);
  }
  ~DatabaseOwnerTest() override { std::filesystem::remove_all(runtime); }
  std::string runtime;
};

TEST_F(DatabaseOwnerTest, OthersFindNamesAndFirstValuesInACompleteDatabase) {
  EXPECT_EQ(LookAtDatabase(), DatabaseState::kNone);
  MakeDatabase(PARAMETERS);
  EXPECT_EQ(LookAtDatabase(), DatabaseState::kComplete);
  const int status = InProcess([] {
    // As another program: what the fork brought along is not used.
    DBSHM::Open();
    double tires = 0;
    double load = 1;
    const bool right = DBSHM::getHandle("OrvikTires") == 7 && DBSHM::Read(7, tires) == 1 && tires == 2.5 &&
                       DBSHM::Read(1, load) == 0 && ReadNameTable().size() == 2;
    return right ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(InProcess([] {
              try {
                MakeDatabase(PARAMETERS);
              } catch (const std::runtime_error&) {
                return 3;
              }
              return 0;
            }),
            3)
      << "a living owner keeps its database";
  RemoveDatabase();
  EXPECT_EQ(LookAtDatabase(), DatabaseState::kNone);
}

TEST_F(DatabaseOwnerTest, TheDatabaseOfAKilledOwnerIsMadeAnew) {
  EXPECT_EQ(InProcess([] {
              MakeDatabase(PARAMETERS);
              DBSHM::Write(7, 99.0);
              return raise(SIGKILL);
            }),
            1000 + SIGKILL);
  EXPECT_NE(LookAtDatabase(), DatabaseState::kComplete);
  MakeDatabase(PARAMETERS);
  double tires = 0;
  EXPECT_EQ(DBSHM::Read(7, tires), 1);
  EXPECT_EQ(tires, 2.5);
  EXPECT_TRUE(AttachDatabase(0)) << "the owner is attached to its own";
  RemoveDatabase();
}

}  // namespace
}  // namespace unit
