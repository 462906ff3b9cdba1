// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>

#include "kt/foundation/PropertyList.h"
#include "tests/support/ScratchFolder.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

void write(const std::string &path, const std::string &text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string contentsOf(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t permissionsOf(const std::string &path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

std::ptrdiff_t filesIn(const std::string &folder) {
  return std::distance(fs::directory_iterator(folder), {});
}

// Expects that `action` throws std::system_error with the text `what` and this reason.
template <typename Action>
void expectSystemError(Action action, const std::string &what, int reason) {
  try {
    action();
    FAIL() << "expected: " << what;
  } catch (const std::system_error &error) {
    EXPECT_EQ(error.code(), std::error_code(reason, std::generic_category()));
    EXPECT_EQ(error.what(), what + ": " + std::generic_category().message(reason));
  }
}

// Lets files of this process grow to `size` bytes only, while it lives: a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : saved_{}, handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &saved_);
    const rlimit limit{size, saved_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit &) = delete;
  FileSizeLimit &operator=(const FileSizeLimit &) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &saved_);
    (void)std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit saved_;
  void (*handler_)(int);
};

class PropertyListFile : public testing::Test {
 protected:
  const ScratchFolder folder_;
  const std::string path_ = folder_.at("settings.plist");
};

// ---- Reading ----

TEST_F(PropertyListFile, ReadsValueWithComments) {
  write(path_, "// mine\n{ name = hut; /* and */ ports = ( 1, 2 ); }\n");
  EXPECT_EQ(PropertyList::fromFile(path_),
            PropertyList(Dictionary{{"name", "hut"}, {"ports", Array{"1", "2"}}}));
}

TEST_F(PropertyListFile, NamesFileAndPlaceOfError) {
  write(path_, "{\n  a = 1;\n  b 2;\n}\n");
  try {
    (void)PropertyList::fromFile(path_);
    FAIL() << "expected an error";
  } catch (const PropertyListError &error) {
    EXPECT_EQ(error.what(), path_ + ": line 3, column 5: expected '=', found '2'");
    EXPECT_EQ(error.line(), 3U);
    EXPECT_EQ(error.column(), 5U);
    EXPECT_EQ(error.offset(), 15U);
  }
}

TEST_F(PropertyListFile, NamesFileThatIsMissing) {
  expectSystemError([this] { (void)PropertyList::fromFile(path_); }, path_ + ": can't read it",
                    ENOENT);
}

TEST_F(PropertyListFile, NamesFolderThatIsRead) {
  expectSystemError([this] { (void)PropertyList::fromFile(folder_.path()); },
                    folder_.path() + ": can't read it", EISDIR);
}

TEST_F(PropertyListFile, RefusesEmptyFile) {
  write(path_, "");
  EXPECT_THROW((void)PropertyList::fromFile(path_), PropertyListError);
}

// ---- Writing ----

TEST_F(PropertyListFile, WritesTextAndLineFeed) {
  PropertyList(Dictionary{{"name", "hut"}}).toFile(path_);
  EXPECT_EQ(contentsOf(path_), "{ name = hut; }\n");
}

TEST_F(PropertyListFile, ReadsBackWhatWasWritten) {
  const PropertyList value(Dictionary{{"a", Array{"\n", "ä", ""}}, {"b", Data{std::byte{0}}}});
  value.toFile(path_);
  EXPECT_EQ(PropertyList::fromFile(path_), value);
}

TEST_F(PropertyListFile, ReplacesLongerContents) {
  write(path_, std::string(100000, 'x'));
  PropertyList("short").toFile(path_);
  EXPECT_EQ(contentsOf(path_), "short\n");
  EXPECT_EQ(filesIn(folder_.path()), 1);
}

TEST_F(PropertyListFile, MakesFileWithPermissionsOfMask) {
  const mode_t mask = ::umask(0027);
  PropertyList("a").toFile(path_);
  ::umask(mask);
  EXPECT_EQ(permissionsOf(path_), 0640U);
}

TEST_F(PropertyListFile, KeepsOwnerIfSystemPermits) {
  constexpr uid_t someone = 1234;
  write(path_, "old");
  if (::chown(path_.c_str(), someone, someone) != 0) GTEST_SKIP() << "only root may";
  PropertyList(Dictionary()).toFile(path_);
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, someone);
  EXPECT_EQ(status.st_gid, someone);
}

TEST_F(PropertyListFile, KeepsPermissions) {
  write(path_, "old");
  ASSERT_EQ(::chmod(path_.c_str(), 0604), 0);
  PropertyList("new").toFile(path_);
  EXPECT_EQ(permissionsOf(path_), 0604U);
}

TEST_F(PropertyListFile, WritesThroughSymbolicLink) {
  fs::create_directory(folder_.at("elsewhere"));
  write(folder_.at("elsewhere/real"), "old");
  fs::create_symlink("elsewhere/real", path_);
  PropertyList("new").toFile(path_);
  EXPECT_TRUE(fs::is_symlink(path_));
  EXPECT_EQ(contentsOf(folder_.at("elsewhere/real")), "new\n");
}

TEST_F(PropertyListFile, ReplacesLinkThatLeadsNowhere) {
  fs::create_symlink("nowhere", path_);
  PropertyList("new").toFile(path_);
  EXPECT_FALSE(fs::is_symlink(path_));
  EXPECT_EQ(contentsOf(path_), "new\n");
}

TEST_F(PropertyListFile, AcceptsLongestName) {
  const std::string path = folder_.at(std::string(255, 'n'));
  PropertyList("a").toFile(path);
  EXPECT_EQ(contentsOf(path), "a\n");
}

TEST_F(PropertyListFile, AcceptsRelativePath) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  PropertyList("a").toFile("settings.plist");
  fs::current_path(before);
  EXPECT_EQ(contentsOf(path_), "a\n");
}

TEST_F(PropertyListFile, NamesFileWhoseFolderIsMissing) {
  const std::string path = folder_.at("none/settings.plist");
  expectSystemError([&] { PropertyList("a").toFile(path); }, path + ": can't write it", ENOENT);
}

TEST_F(PropertyListFile, KeepsOldContentsOnFullDisk) {
  write(path_, "old");
  {
    const FileSizeLimit limit(10);
    expectSystemError([this] { PropertyList(std::string(100, 'a')).toFile(path_); },
                      path_ + ": can't write it", EFBIG);
  }
  EXPECT_EQ(contentsOf(path_), "old");
  EXPECT_EQ(filesIn(folder_.path()), 1);
}

TEST_F(PropertyListFile, DoesNotReplaceFolder) {
  fs::create_directory(path_);
  expectSystemError([this] { PropertyList("a").toFile(path_); }, path_ + ": can't write it",
                    EISDIR);
  EXPECT_EQ(filesIn(folder_.path()), 1);
}

TEST_F(PropertyListFile, DoesNotReplaceFifo) {
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  expectSystemError([this] { PropertyList("a").toFile(path_); }, path_ + ": can't write it",
                    EINVAL);
  EXPECT_TRUE(fs::is_fifo(path_));
  EXPECT_EQ(filesIn(folder_.path()), 1);
}

TEST_F(PropertyListFile, ShowsReadersOldOrNewContentsOnly) {
  const PropertyList one(Array(1000, PropertyList("one")));
  const PropertyList two(Array(2000, PropertyList("two")));
  one.toFile(path_);
  std::jthread writer([&](const std::stop_token &stop) {
    while (!stop.stop_requested()) {
      two.toFile(path_);
      one.toFile(path_);
    }
  });
  for (int i = 0; i < 300; ++i) {
    const PropertyList read = PropertyList::fromFile(path_);
    ASSERT_TRUE(read == one || read == two);
  }
}

}  // namespace
}  // namespace kt::test
