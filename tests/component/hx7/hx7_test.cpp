// The program hx7 on a real TCP connection.
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/hex.h"
#include "tests/support/socketcand_desk.h"
#include "tests/support/test_folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string ReadFile(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// One run of hx7 in a folder of its own.
class Hx7Test : public testing::Test {
 protected:
  struct result_t {
    int status;
    std::string out;
    std::string err;
  };

  Hx7Test() { ::setenv("TZ", "UTC", 1); }

  pid_t Start(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), HX7_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    for (const auto& [name, fd] : {std::pair("out", 1), std::pair("err", 2)}) {
      ::dup2(::open((folder_.Path() / name).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), fd);
    }
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  result_t Finish(pid_t child) const {
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(folder_.Path() / "out"),
            ReadFile(folder_.Path() / "err")};
  }
  result_t Run(const std::vector<std::string>& arguments) const { return Finish(Start(arguments)); }
  std::string WriteLog(const std::string& text, const char* name = "bus.log") const {
    return folder_.Write(name, text);
  }

  RuntimeDirectoryForTest folder_;
};

TEST_F(Hx7Test, SendRemembersTheOperatingValuesOfTheCallBefore) {
  SocketcandDesk desk;
  EXPECT_EQ(Run({"send", "--bus", desk.Bus(), "load=12300", "parts-of-line=4"}).status, 0);
  EXPECT_EQ(Run({"send", "--bus", desk.Bus(), "radius=35.5"}).status, 0);
  EXPECT_EQ(Run({"send", "--bus", desk.Bus(), "--neutral", "operating-values"}).status, 0);
  const auto frames = ToHex(desk.WaitForFrames(18));
  ASSERT_EQ(frames.size(), 18U);
  EXPECT_EQ(frames[1], "01 46 40 30 00 00 00 00");
  EXPECT_EQ(frames[7], "01 46 40 30 00 42 0E 00");
  EXPECT_EQ(frames[9], "03 00 00 00 00 00 00 04");
  EXPECT_EQ(frames[13], "01 00 00 00 00 00 00 00");
}

TEST_F(Hx7Test, SendPrintsTheDisplaysAnswerOrSaysThatThereIsNone) {
  SocketcandDesk desk([](const bus::frame_t& request) {
    if (request.data[3] != 3) return std::vector<bus::frame_t>{};
    return std::vector<bus::frame_t>{
        {.identifier = 0x18FF00D2, .length = 8, .data = {0, 2, 'V', 'i', 's', 't', 'r', 'e'}},
        {.identifier = 0x18FF00D2, .length = 8, .data = {1, 'l', ' ', 255, 255, 255, 255, 255}}};
  });
  const auto answered = Run({"send", "--bus", desk.Bus(), "program-name"});
  EXPECT_EQ(answered.out, "program-name: \"Vistrel \"\n");
  EXPECT_EQ(answered.status, 0);
  const auto silent = Run({"send", "--bus", desk.Bus(), "--timeout", "0.05", "file-id", "units=metric"});
  EXPECT_EQ(silent.status, 1);
  EXPECT_THAT(silent.err, HasSubstr("does not answer file-id"));
  EXPECT_EQ(desk.WaitForFrames(2).size(), 2U);  // hx7 sends nothing after a request that failed
}

TEST_F(Hx7Test, ExitStatusTellsAWrongCallFromAFailure) {
  const std::pair<const char*, int> cases[] = {{"send --list", 0},
                                               {"", 2},
                                               {"fly", 2},
                                               {"send", 2},
                                               {"play --speed 0 x", 2},
                                               {"watch /no/such/file", 2},
                                               {"watch --seconds -1", 2},
                                               {"send --bus can0 load=1", 2},
                                               {"record " HX7_PROGRAM, 2}};
  for (const auto& [arguments, status] : cases) {
    std::istringstream words(arguments);
    const auto result = Run({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(result.status, status) << arguments << result.err;
  }
}

TEST_F(Hx7Test, PlaysALogInOrderAndSaysWhatItPassedOver) {
  SocketcandDesk desk;
  const std::string log = WriteLog(
      "(10.000000) can0 18FF00D0#0001060000000000\n(10.000500) can0 18FF00D2#0001000000FFFFFF\n"
      "# a remark\n\n" +
      std::string(5000, 'x') + "\n(10.001000) vcan9 0D2#01\n(10.000000) can0 18FF00D0#000104FF\n");
  const auto played = Run({"play", "--bus", desk.Bus(), log});
  EXPECT_EQ(played.status, 0);
  EXPECT_THAT(played.err, HasSubstr("played 3 frames"));
  EXPECT_THAT(played.err, HasSubstr("1 frames of the display and 2 lines"));
  EXPECT_THAT(ToHex(desk.WaitForFrames(3)), ElementsAre("00 01 06 00 00 00 00 00", "01", "00 01 04 FF"));
  const auto quiet = Run({"play", "--bus", desk.Bus(), "--all", "--quiet", "--speed", "max", log});
  EXPECT_EQ(quiet.err, "");
  EXPECT_EQ(desk.WaitForFrames(7).size(), 7U);
  EXPECT_EQ(Run({"play", "--bus", desk.Bus(), WriteLog("nothing\n")}).status, 2);
}

TEST_F(Hx7Test, PlayJoinsABusAgainThatWasLostAndStopsAtOnceOnASignalInTheMiddleOfAPause) {
  SocketcandDesk desk;
  const pid_t child =
      Start({"play", "--loop", "--bus", desk.Bus(), WriteLog("(1.0) can0 123#01\n(1.01) can0 123#02\n")});
  desk.WaitForFrames(4);
  desk.DropClients();
  desk.WaitForClients(2);
  const std::size_t before = desk.WaitForFrames(0).size();
  const std::size_t after = desk.WaitForFrames(before + 10).size();
  EXPECT_GE(after, before + 10);
  ::kill(child, SIGTERM);
  const auto result = Finish(child);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, testing::AllOf(HasSubstr("lost the bus"), HasSubstr("joined the bus again")));

  SocketcandDesk quiet;
  const pid_t paused = Start({"play", "--bus", quiet.Bus(), WriteLog("(1.0) can0 123#\n(3601.0) can0 123#\n")});
  EXPECT_EQ(quiet.WaitForFrames(1).size(), 1U);
  ::kill(paused, SIGINT);
  EXPECT_EQ(Finish(paused).status, 0);
}

TEST_F(Hx7Test, PlayGoesOnWhereItWasAfterItsProcessWasStopped) {
  SocketcandDesk desk;
  std::string log;
  for (int i = 0; i < 100; ++i) log += "(1." + std::to_string(100 + i * 5) + ") can0 123#\n";
  const pid_t child = Start({"play", "--bus", desk.Bus(), WriteLog(log)});
  desk.WaitForFrames(10);
  ::kill(child, SIGSTOP);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
  ::usleep(700'000);  // the time under test: longer than the rest of the log
  const std::size_t before = desk.WaitForFrames(0).size();
  ::kill(child, SIGCONT);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Finish(child).status, 0);
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GT(took, std::chrono::milliseconds(5 * (100 - static_cast<int>(before)) -
                                            60));  // the rest is played at its pace
  EXPECT_EQ(desk.WaitForFrames(100).size(), 100U);
}

TEST_F(Hx7Test, DiffTellsADifferenceFromATrouble) {
  const std::string log =
      WriteLog("(10.0) can0 18FF00D0#0001070B01FFFFFF\n(11.0) can0 18FF00D0#0001040AFFFFFFFF\n");
  // The same messages at later times, one of them twice, with a request between them.
  const auto same = WriteLog(
      "(90.0) can1 18FF00D0#0001070B01FFFFFF\n(90.1) can1 18FF00D0#0001070B01FFFFFF\n"
      "(90.2) can1 18FF00D0#000106FFFFFFFFFF\n(99.0) can1 18FF00D0#0001040AFFFFFFFF\n",
      "same.log");
  const auto lost =
      WriteLog("(10.0) can0 18FF00D0#0001070B01FFFFFF\n(21.5) can0 18FF00D0#0001040AFFFFFFFF\n", "lost.log");
  for (const auto& [other, status] : {std::pair{same, 0}, {lost, 1}, {WriteLog("nothing\n", "empty.log"), 2}}) {
    EXPECT_EQ(Run({"diff", log, other}).status, status) << other;
  }
  EXPECT_EQ(Run({"diff", log, same}).out, "");
  EXPECT_EQ(Run({"diff", log, lost}).out, "A 00:00:10.000  B 00:00:20.000\n  link: nothing | lost\n");
}

TEST_F(Hx7Test, RecordsWhatWatchThenReadsAsItHappened) {
  SocketcandDesk desk;
  const std::string log = folder_.Path() / "new.log";
  const pid_t record = Start({"record", "--bus", desk.Bus(), log});
  desk.WaitForClients(1);
  ::kill(record, SIGSTOP);  // the recorder reads the frames below only when it is told to end
  desk.SendText(
      "< frame 18FF00D0 1700000000.250000 0001060000000000 >< frame 18FF00D2 1700000000.251000 "
      "0001001212FFFFFF >");
  desk.SendText("< frame 123 1700000000.252000 01 >");
  desk.WaitUntilDelivered();
  ::kill(record, SIGINT);
  ::kill(record, SIGCONT);
  EXPECT_EQ(Finish(record).status, 0);
  EXPECT_EQ(
      ReadFile(log),
      "(1700000000.250000) can0 18FF00D0#0001060000000000\n(1700000000.251000) can0 18FF00D2#0001001212FFFFFF\n"
      "(1700000000.252000) can0 123#01\n");
  EXPECT_EQ(Run({"watch", log}).out,
            "22:13:20.250  host     CMD6      key-state\n"
            "22:13:20.251  display  reply     key-state: status 0, key info, last-key info\n"
            "22:13:20.252  other    123       01\n");
  EXPECT_THAT(Run({"watch", "--json", log}).out,
              HasSubstr(R"("values":{"status":0,"key":"info","last-key":"info"}})"));
  EXPECT_EQ(Run({"record", "--bus", desk.Bus(), log}).status, 2);  // the file exists
}

TEST_F(Hx7Test, WatchesTheLiveBusForAWhile) {
  SocketcandDesk desk;
  const pid_t watch = Start({"watch", "--changes", "--seconds", "1", "--bus", desk.Bus()});
  desk.WaitForClients(1);
  for (int i = 0; i < 3; ++i) desk.SendText("< frame 18FF00D0 1.000000 000104FFFFFFFFFF >");
  const auto result = Finish(watch);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "00:00:01.000  host     CMD4      beeper: continuous\n");
}

}  // namespace
