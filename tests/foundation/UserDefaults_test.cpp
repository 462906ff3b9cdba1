// SPDX-License-Identifier: MIT

#include "kt/foundation/UserDefaults.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/foundation/Namespaces.h"
#include "tests/support/ScratchFolder.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

constexpr const char *key = "KtTestDefault";
constexpr std::size_t fileSizeLimit = 1 << 20;

// Sets or removes an environment variable, and restores it when destroyed.
class Variable {
 public:
  // Removes the variable if `value` is null.
  Variable(const char *name, const char *value) : name_(name) {
    if (const char *saved = std::getenv(name)) saved_ = saved;
    set(value);
  }
  Variable(const Variable &) = delete;
  Variable &operator=(const Variable &) = delete;
  ~Variable() { set(saved_ ? saved_->c_str() : nullptr); }

  void set(const char *value) {
    if (value != nullptr) {
      setenv(name_, value, 1);
    } else {
      unsetenv(name_);
    }
  }

 private:
  const char *name_;
  std::optional<std::string> saved_;
};

void writeDefaults(const fs::path &configuration, const std::string &text) {
  fs::create_directories(configuration / "kt");
  std::ofstream(configuration / "kt/defaults.plist", std::ios::binary) << text;
}

// Gives each test an empty home, an empty configuration folder, and no variable for the key.
class UserDefaults : public testing::Test {
 protected:
  UserDefaults() {
    home_.set((folder_ / "home").c_str());
    configuration_.set((folder_ / "configuration").c_str());
  }

  // Writes `text` to the file and returns the default read from it.
  bool defaultWithFile(const std::string &text) {
    writeDefaults(folder_ / "configuration", text);
    return kt::boolUserDefault(key);
  }

  bool defaultWithVariable(const char *value) {
    variable_.set(value);
    return kt::boolUserDefault(key);
  }

  fs::path file() const { return folder_ / "configuration/kt/defaults.plist"; }

  const ScratchFolder scratch_;
  const fs::path folder_{scratch_.path()};
  Variable variable_{key, nullptr};
  Variable home_{"HOME", nullptr};
  Variable configuration_{"XDG_CONFIG_HOME", nullptr};
};

TEST_F(UserDefaults, ReturnsNoForAbsentDefault) {
  EXPECT_FALSE(kt::boolUserDefault(key));
}

TEST_F(UserDefaults, AcceptsWordsForYesInAnyCase) {
  for (const char *text :
       {"YES", "yes", "Yes", "yEs", "TRUE", "true", "True", "Y", "y", "T", "t"}) {
    EXPECT_TRUE(defaultWithVariable(text)) << text;
  }
}

TEST_F(UserDefaults, TakesNonzeroNumbersAsYes) {
  for (const char *text : {"1", "-1", "+7", "  42", "\t\n9", "007", "1 NO", "99999999999999999999",
                           "4294967296", "-99999999999999999999", "2.5"}) {
    EXPECT_TRUE(defaultWithVariable(text)) << text;
  }
}

TEST_F(UserDefaults, TakesEverythingElseAsNo) {
  for (const char *text :
       {"",        "0",    "00",   "-0", "0.9",  "NO",  "no",    "FALSE", "N",   "F",   "on",
        "enabled", "YES ", " YES", "YE", "YESS", "TRU", "yes\n", "- 1",   "0x1", "--1", "x1"}) {
    EXPECT_FALSE(defaultWithVariable(text)) << '"' << text << '"';
  }
}

TEST_F(UserDefaults, PrefersVariableToFile) {
  writeDefaults(folder_ / "configuration", "{ KtTestDefault = YES; }");
  EXPECT_FALSE(defaultWithVariable("NO"));
  EXPECT_FALSE(defaultWithVariable(""));
  writeDefaults(folder_ / "configuration", "{ KtTestDefault = NO; }");
  EXPECT_TRUE(defaultWithVariable("YES"));
}

TEST_F(UserDefaults, ReadsFileIfVariableIsUnset) {
  EXPECT_TRUE(defaultWithFile("{ KtTestDefault = YES; }"));
  EXPECT_TRUE(defaultWithFile("{ Other = ( a, b ); KtTestDefault = \" 1\"; }"));
  EXPECT_TRUE(defaultWithFile("// mine\n{\n  KtTestDefault = y\n}\n"));
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = NO; }"));
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = \"\"; }"));
  EXPECT_FALSE(defaultWithFile("{ Other = YES; }"));
}

TEST_F(UserDefaults, ReadsFileAtEachCall) {
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = NO; }"));
  EXPECT_TRUE(defaultWithFile("{ KtTestDefault = YES; }"));
}

TEST_F(UserDefaults, TakesValueOtherThanStringAsNo) {
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = ( YES ); }"));
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = { YES = YES; }; }"));
  EXPECT_FALSE(defaultWithFile("{ KtTestDefault = <01>; }"));
}

TEST_F(UserDefaults, TakesMalformedFileAsNo) {
  for (const char *text : {"", "YES", "( KtTestDefault, YES )", "{ KtTestDefault = YES; ",
                           "{ KtTestDefault = YES; } left over",
                           "\x7F"
                           "ELF"}) {
    EXPECT_FALSE(defaultWithFile(text)) << text;
  }
}

TEST_F(UserDefaults, ReadsFileUpToSizeLimit) {
  std::string text = "{ KtTestDefault = YES; }";
  text.resize(fileSizeLimit, ' ');
  EXPECT_TRUE(defaultWithFile(text));
  EXPECT_FALSE(defaultWithFile(text + ' '));
}

TEST_F(UserDefaults, TakesUnreadableFileAsNo) {
  writeDefaults(folder_ / "configuration", "{ KtTestDefault = YES; }");
  ASSERT_EQ(::chmod(file().c_str(), 0), 0);
  ASSERT_EQ(::chmod(folder_.c_str(), 0755), 0);
  constexpr uid_t nobody = 65534;  // root can read every file
  const uid_t user = ::geteuid();
  if (user == 0 && ::seteuid(nobody) != 0) GTEST_SKIP() << "cannot leave the root user";
  const bool answer = kt::boolUserDefault(key);
  ASSERT_EQ(::seteuid(user), 0);
  EXPECT_FALSE(answer);
}

TEST_F(UserDefaults, TakesIrregularFileAsNoWithoutWaiting) {
  fs::create_directories(file());  // a folder of the file's name
  EXPECT_FALSE(kt::boolUserDefault(key));
  fs::remove(file());
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  EXPECT_FALSE(kt::boolUserDefault(key));
  fs::remove(file());
  fs::create_symlink("/dev/zero", file());
  EXPECT_FALSE(kt::boolUserDefault(key));
}

TEST_F(UserDefaults, FollowsLinkToFile) {
  fs::create_directories(file().parent_path());
  std::ofstream(folder_ / "elsewhere") << "{ KtTestDefault = YES; }";
  fs::create_symlink(folder_ / "elsewhere", file());
  EXPECT_TRUE(kt::boolUserDefault(key));
}

TEST_F(UserDefaults, LooksInDotConfigOfHomeByDefault) {
  writeDefaults(folder_ / "home/.config", "{ KtTestDefault = YES; }");
  EXPECT_FALSE(kt::boolUserDefault(key));
  configuration_.set(nullptr);
  EXPECT_TRUE(kt::boolUserDefault(key));
  configuration_.set("");
  EXPECT_TRUE(kt::boolUserDefault(key));
}

TEST_F(UserDefaults, TakesHomeFromUserDatabaseWithoutVariable) {
  configuration_.set(nullptr);
  const passwd *user = getpwuid(::getuid());
  if ((user == nullptr) || !fs::is_directory(user->pw_dir)) GTEST_SKIP() << "the user has no home";
  const auto isRead = inNamespaces(CLONE_NEWNS, [&] {
    // Mounts an empty file system over the home, for this process only, to leave the user's files
    // alone.
    if (::mount("none", user->pw_dir, "tmpfs", 0, nullptr) != 0) return false;
    writeDefaults(fs::path(user->pw_dir) / ".config", "{ KtTestDefault = YES; }");
    home_.set(nullptr);
    const bool whenNotSet = kt::boolUserDefault(key);
    home_.set("");
    return whenNotSet && kt::boolUserDefault(key);
  });
  if (!isRead) GTEST_SKIP() << "namespaces are not available";
  EXPECT_TRUE(*isRead);
}

}  // namespace
}  // namespace kt::test
