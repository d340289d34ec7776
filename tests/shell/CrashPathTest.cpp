// The crash path: a child process that really crashes writes !!crash!!.log,
// !!crash!!.dmp, crash.txt and the emergency backup; the next start shows the
// report in the "CRASH!!!" box and offers the backup.
#include <signal.h>
#include <sys/wait.h>

#include "ClassEngine/SaveWorkOffer.h"
#include "shell/CrashHandler.h"
#include "ShellFixture.h"

namespace {
// Runs in the child: a started shell with a modified scene, then a fault.
[[noreturn]] void CrashingChild(int how) {
  FakePlatform fake;
  RecordingSeams seams;
  seams.modified = true;
  Shell shell(fake, seams);
  StartOptions o;
  shell.Start(o);
  ResetSaveWorkOffer();
  if (how == SIGSEGV) {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
  }
  raise(how);
  _exit(3);  // not reached
}

int RunChild(int how) {
  pid_t pid = fork();
  if (pid == 0) CrashingChild(how);
  int status = 0;
  waitpid(pid, &status, 0);
  return status;
}
}  // namespace

TEST_F(ShellTest, SegfaultWritesTheCrashFilesAndTheBackup) {
  int status = RunChild(SIGSEGV);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the process still dies of its signal";
  EXPECT_EQ(WTERMSIG(status), SIGSEGV);

  std::string log = Read(kCrashLogName);
  EXPECT_EQ(log.rfind("Exception code:B\n", 0), 0u) << log.substr(0, 80);
  EXPECT_NE(log.find("Memory status before run:\n\n"), std::string::npos);
  EXPECT_NE(log.find("\nMemory status after crash:\n\n"), std::string::npos);
  EXPECT_NE(log.find("Module found "), std::string::npos);
  EXPECT_NE(log.find("Call stack due to calls\n\n"), std::string::npos);

  std::string dump = Read(kCrashDumpName);
  ASSERT_GE(dump.size(), 8u);
  EXPECT_EQ(dump.substr(0, 4), "MVCD");

  std::string list = Read(kCrashListName);
  EXPECT_NE(list.find("  "), std::string::npos);
  EXPECT_NE(list.find(":Morvane\n\nVersion:Morvane\nMemory status: OK\n"), std::string::npos) << list.substr(0, 200);
  EXPECT_NE(list.find("Work time: 0 m "), std::string::npos);
  EXPECT_NE(list.find("TotalPhys: "), std::string::npos);

  EXPECT_TRUE(Exists(Home("UserData/AutoBackupOnCrash.mvn"))) << "the offer to save wrote the backup";
  EXPECT_TRUE(Exists(kLastCrashName));

  // The next start: the report in a box, then the backup offered.
  fake.AnswerDialogs({0, 0});  // OK, then Load
  Started();
  ASSERT_GE(fake.DialogsShown().size(), 2u);
  EXPECT_EQ(fake.DialogsShown()[0].title, "CRASH!!!");
  EXPECT_NE(fake.DialogsShown()[0].text.find("Version:Morvane"), std::string::npos);
  EXPECT_EQ(fake.DialogsShown()[1].title, "AutoBackup");
  EXPECT_EQ(fake.DialogsShown()[1].text, "PrevBackupFound");
  EXPECT_EQ(fake.DialogsShown()[1].buttons, (std::vector<std::string>{"Load", "Delete", "Skip"}));
  ASSERT_EQ(seams.loaded.size(), 1u);
  EXPECT_FALSE(Exists(Home("UserData/AutoBackupOnCrash.mvn"))) << "loaded, then deleted";
  EXPECT_FALSE(Exists(kLastCrashName)) << "a report is shown once";
}

TEST_F(ShellTest, AbortAppendsASecondReport) {
  RunChild(SIGSEGV);
  int status = RunChild(SIGABRT);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(Read(kCrashLogName).rfind("Exception code:6\n", 0), 0u);
  std::string list = Read(kCrashListName);
  size_t first = list.find("Version:");
  ASSERT_NE(first, std::string::npos);
  EXPECT_NE(list.find("Version:", first + 1), std::string::npos) << "crash.txt keeps every report";
}

TEST_F(ShellTest, CrashBackupSkipKeepsAndDeleteRemoves) {
  std::string backup = Home("UserData/AutoBackupOnCrash.mvn");
  std::filesystem::create_directories(Home("UserData"));
  std::ofstream(backup) << "x";
  fake.AnswerDialogs({2});
  Started();
  EXPECT_TRUE(Exists(backup));
  EXPECT_TRUE(seams.loaded.empty());
  fake.AnswerDialogs({1});
  Started();
  EXPECT_FALSE(Exists(backup));
  EXPECT_TRUE(seams.loaded.empty());
}

TEST_F(ShellTest, UserFoldersAreMadeAndUsedByTheResolver) {
  Shell& s = Started();
  for (const char* d : {"UserData", "UserData/StoreData", "Temp", "Exchange"})
    EXPECT_TRUE(std::filesystem::is_directory(Home(d))) << d;
  EXPECT_EQ(s.Folders().Prefix(), Home(""));
  EXPECT_FALSE(Exists(Home("testfile.test")));
  std::string deep = s.Folders().Path("a/b/c.txt");
  EXPECT_TRUE(std::filesystem::is_directory(Home("a/b")));
  EXPECT_EQ(deep, Home("a/b/c.txt"));
}

TEST_F(ShellTest, UnwritableUserFolderFallsBackToWorkingFolder) {
  setenv("MORVANE_HOME", "/proc/morvane-cannot-write-here", 1);
  UserFolders f;
  f.Init("");
  EXPECT_EQ(f.Prefix(), "");
  EXPECT_EQ(f.Path("window.txt"), "window.txt");
}
