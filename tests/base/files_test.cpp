#include "base/files.h"

#include <sys/stat.h>

#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

namespace fs = std::filesystem;

TEST(Paths, AreTakenApartAtEitherSeparator) {
  const std::tuple<const char*, const char*, const char*, const char*, const char*> cases[] = {
      {"", "", "", "", ""},
      {"x.tv1", "", "x.tv1", "tv1", "x"},
      {"/a/b.c/x.tv1", "/a/b.c/", "x.tv1", "tv1", "/a/b.c/x"},
      {"/a/b.c/x", "/a/b.c/", "x", "", "/a/b.c/x"},
      {"C:\\a\\x.Y.z", "C:\\a\\", "x.Y.z", "z", "C:\\a\\x.Y"},
      {"C:\\a.b\\x", "C:\\a.b\\", "x", "", "C:\\a.b\\x"},
      {"/a\\b/c\\x.", "/a\\b/c\\", "x.", "", "/a\\b/c\\x"},
      {"/a/", "/a/", "", "", "/a/"},
      {"/a/.ini", "/a/", ".ini", "ini", "/a/"}};
  for (const auto& [path, folder, name, extension, without] : cases) {
    EXPECT_EQ(folderOf(path), folder) << path;
    EXPECT_EQ(fileNameOf(path), name) << path;
    EXPECT_EQ(extensionOf(path), extension) << path;
    EXPECT_EQ(withoutExtension(path), without) << path;
  }
  EXPECT_EQ(withSeparator("/a"), "/a/");
  EXPECT_EQ(withSeparator("/b/"), "/b/");
  EXPECT_EQ(withSeparator(""), "");
  for (const char* path : {"/a", "\\a", "C:a"}) EXPECT_TRUE(isAbsolutePath(path)) << path;
  for (const char* path : {"", "a/b", "./a"}) EXPECT_FALSE(isAbsolutePath(path)) << path;
}

class Files : public ::testing::Test {
 protected:
  std::string put(const std::string& name, const std::string& text) {
    EXPECT_TRUE(replaceFile(folder.file(name), std::string_view(text)));
    return folder.file(name);
  }
  int entries() const {
    return static_cast<int>(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
  }
  TempFolder folder;
};

TEST_F(Files, StayAsTheyWereWithoutCommit) {
  const std::string path = put("a", "old");
  {
    AtomicFile file(path);
    EXPECT_TRUE(file.write("new", 3));
    EXPECT_EQ(entries(), 2);
    EXPECT_EQ(readWholeText(path), "old");
  }
  EXPECT_EQ(readWholeText(path), "old");
  EXPECT_EQ(entries(), 1) << "nothing stays behind";
}

TEST_F(Files, AreReplacedByCommitWithTheirMode) {
  for (const mode_t mode : {0600u, 0640u, 0755u}) {
    const std::string path = put("a", "old");
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    put("a", std::string("n\0w", 3));
    EXPECT_EQ(readWholeText(path), std::string("n\0w", 3));
    struct stat facts {};
    ASSERT_EQ(::stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, mode);
    EXPECT_EQ(entries(), 1);
  }
  const mode_t mask = ::umask(027);
  const std::string fresh = put("b", "");
  ::umask(mask);
  struct stat facts {};
  ASSERT_EQ(::stat(fresh.c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0640u) << "a new file's mode is as the user's mask has it";
}

TEST_F(Files, ThatAreLinksKeepTheLink) {
  const std::string target = put("target", "old");
  fs::create_symlink("target", folder.file("link"));
  put("link", "new");
  EXPECT_TRUE(fs::is_symlink(folder.file("link")));
  EXPECT_EQ(readWholeText(target), "new");
}

TEST_F(Files, ThatCantBeWrittenSayWhy) {
  AtomicFile file(folder.file("none/a"));
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.write("x", 1));
  const Outcome done = file.commit();
  EXPECT_FALSE(done);
  EXPECT_EQ(done.why(), folder.file("none/a") + ": can't be written: No such file or directory");
  ASSERT_TRUE(makeFolderPath(folder.file("b")));
  put("b/kept", "");
  EXPECT_FALSE(replaceFile(folder.file("b"), std::string_view("x"))) << "a folder is in the way";
  EXPECT_TRUE(fileExists(folder.file("b/kept")));
  EXPECT_EQ(entries(), 1);
}

TEST_F(Files, MayBeWrittenByName) {
  const std::string path = put("a", "old");
  AtomicFile file(path);
  file.releaseToWriterByName();
  EXPECT_FALSE(file.isOpen());
  std::FILE* byName = std::fopen(file.temporaryPath().c_str(), "wb");
  ASSERT_NE(byName, nullptr);
  std::fputs("by name", byName);
  std::fclose(byName);
  EXPECT_EQ(readWholeText(path), "old");
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(readWholeText(path), "by name");
}

TEST_F(Files, OfTheGreatestNameCanBeReplaced) {
  const std::string path = put(std::string(255, 'n'), "old");
  EXPECT_TRUE(replaceFile(path, std::string_view("new")));
  EXPECT_EQ(readWholeText(path), "new");
  EXPECT_FALSE(replaceFile(path + "n", std::string_view("too long")));
}

TEST_F(Files, AreReadWholeUpToALimit) {
  const std::string path = put("a", "12345");
  EXPECT_EQ(readWholeText(path, 5), "12345");
  EXPECT_FALSE(readWholeText(path, 4));
  EXPECT_EQ(readWholeFile(put("b", ""))->size(), 0u);
  EXPECT_FALSE(readWholeFile(folder.path()));
  EXPECT_FALSE(readWholeFile(folder.file("none")));
}

TEST_F(Files, FoldersAreMadeFromTheFirstMissing) {
  for (const char* path : {"a/b/c", "a/b/d/", "a"}) {
    EXPECT_TRUE(makeFolderPath(folder.file(path))) << path;
    EXPECT_TRUE(folderExists(folder.file(path))) << path;
  }
  EXPECT_TRUE(makeFolderPath(folder.file("left\\right")));
  EXPECT_FALSE(folderExists(folder.file("left")));
  put("file", "");
  const std::string before = workingFolder();
  for (const std::string& path : {std::string(), folder.file("file/x"), folder.file("file")})
    EXPECT_FALSE(makeFolderPath(path)) << path;
  EXPECT_EQ(workingFolder(), before);
  EXPECT_TRUE(sameFolder(folder.file("a/b/../b"), folder.file("a/b/")));
  EXPECT_FALSE(sameFolder(folder.file("a/b"), folder.file("a")));
}

TEST_F(Files, TakenNamesAreGivenOnceAndGoUnlessSomethingIsPutThere) {
  const std::string stem = folder.file("hand");
  const std::string kept = put("hand-1.bmp", "x");
  {
    const TakenName first(stem, ".bmp"), second(stem, ".bmp"), own(stem, ".bmp", kept);
    EXPECT_EQ(first.path(), stem + ".bmp");
    EXPECT_EQ(second.path(), stem + "-2.bmp");
    EXPECT_EQ(own.path(), kept);
    put("hand-2.bmp", "mine");
  }
  EXPECT_FALSE(fileExists(stem + ".bmp"));
  EXPECT_EQ(readWholeText(stem + "-2.bmp"), "mine");
  EXPECT_EQ(readWholeText(kept), "x");
}

TEST_F(Files, TellWhetherTheyTookAnothersPlace) {
  for (const bool again : {false, true}) {
    AtomicFile file(folder.file("a"));
    ASSERT_TRUE(file.commit());
    EXPECT_EQ(file.hasReplaced(), again);
  }
  AtomicFile late(folder.file("b"));
  put("b", "another run's");
  ASSERT_TRUE(late.commit());
  EXPECT_TRUE(late.hasReplaced());
}

}  // namespace
}  // namespace tarnvisor
