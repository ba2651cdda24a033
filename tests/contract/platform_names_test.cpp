// Names: one living holder, and nothing in the way after its death.
#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "platform_server.h"

namespace contract {
namespace {

class Names : public PlatformTest {};

TEST_F(Names, AreHeldByOneAtATime) {
  constexpr const char* kOdd = "a name/with %";
  const auto attach = [](const char* name) { return name_attach(nullptr, name, 0); };
  EXPECT_EQ(ErrorOf(name_open(kOdd, 0)), ENOENT);
  name_attach_t* const first = attach(kOdd);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(attach(kOdd), nullptr);
  EXPECT_EQ(errno, EEXIST);
  Child rival([&] { return attach(kOdd) == nullptr && errno == EEXIST ? 0 : 1; });
  EXPECT_EQ(rival.Result(), 0);

  name_attach_t* const other = attach("a name");
  EXPECT_NE(other, nullptr);
  const int coid = name_open("a name", 0);
  EXPECT_GE(coid, 0);
  EXPECT_EQ(attach("a name"), nullptr) << "looking a name up must not free it";

  EXPECT_EQ(name_detach(first, 0), 0);
  EXPECT_EQ(ErrorOf(name_open(kOdd, 0)), ENOENT);
  name_attach_t* const again = attach(kOdd);
  EXPECT_NE(again, nullptr);
  EXPECT_EQ(name_close(coid), 0);
  EXPECT_EQ(name_detach(again, 0), 0);
  EXPECT_EQ(name_detach(other, 0), 0);
}

TEST_F(Names, AreTakenByExactlyOneOfManyAtTheSameTime) {
  const Signal go;
  const Signal won;
  const Signal done;
  const auto compete = [&] {
    if (!go.Await()) return 3;
    name_attach_t* const attach = name_attach(nullptr, SERVER_NAME, 0);
    if (attach == nullptr) return errno == EEXIST ? 1 : 2;
    won.Raise();
    done.Await();
    return name_detach(attach, 0);
  };
  std::array<std::unique_ptr<Child>, 6> rivals;
  for (auto& rival : rivals) rival = std::make_unique<Child>(compete);
  for (std::size_t i = 0; i < rivals.size(); ++i) go.Raise();
  ASSERT_TRUE(won.Await());
  // The winner waits for `done`, which it gets once all others have given up.
  ASSERT_TRUE(Eventually([&] {
    return std::count_if(rivals.begin(), rivals.end(), [](auto& rival) { return rival->HasEnded(); }) == 5;
  }));
  done.Raise();
  int sum = 0;
  for (auto& rival : rivals) sum += rival->Result();
  EXPECT_EQ(sum, 5) << "one result 0 and five of 1";
}

}  // namespace
}  // namespace contract
