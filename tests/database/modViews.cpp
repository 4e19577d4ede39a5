#include "database/modViews.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

class Views : public ::testing::Test {
 protected:
  void WriteFile(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = std::filesystem::path(folder_.Path()) / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
  }
  [[nodiscard]] std::string Load() const { return LoadViews(folder_.Path()).Xml(); }

  TemporaryFolder folder_;
};

TEST_F(Views, AreAnEmptyDocumentWithoutFileAndFolder) { EXPECT_EQ(Load(), "<Views/>"); }

TEST_F(Views, ComeFromTheMainFile) {
  WriteFile("views.xml", "<Views><View><Id>a</Id><Name>A</Name></View></Views>");
  EXPECT_EQ(Load(), "<Views><View><Id>a</Id><Name>A</Name></View></Views>");
}

TEST_F(Views, AFileReplacesTheEntryOfItsNameAndHasItsIdAsLastChild) {
  WriteFile("views.xml", "<Views><View><Id>Sales</Id><Name>old</Name></View><View><Id>b</Id></View></Views>");
  WriteFile("views/Sales.xml", "<View><Name>new</Name><Query>SELECT 1</Query></View>");
  WriteFile("views/notes.txt", "no view");
  EXPECT_EQ(Load(),
            "<Views><View><Id>b</Id></View>"
            "<View><Name>new</Name><Query>SELECT 1</Query><Id>Sales</Id></View></Views>");
}

TEST_F(Views, FileNamesMayHoldApostrophes) {
  WriteFile("views.xml", "<Views><View><Id>it's</Id></View></Views>");
  WriteFile("views/it's.xml", "<View><Query>q</Query></View>");
  EXPECT_EQ(Load(), "<Views><View><Query>q</Query><Id>it's</Id></View></Views>");
  ASSERT_TRUE(FindViewQuery(folder_.Path(), "it's"));
}

TEST_F(Views, ABrokenMainFileOffersNone) {
  WriteFile("views.xml", "<Views><View>");
  EXPECT_EQ(Load(), "");
}

TEST_F(Views, ABrokenFileIsAnErrorThatNamesIt) {
  WriteFile("views/broken.xml", "<View>");
  EXPECT_RAISES(Load(), 91, ::testing::HasSubstr("broken.xml"));
}

TEST_F(Views, AreReadAfreshAtEveryUse) {
  WriteFile("views.xml", "<Views><View><Id>a</Id><Query>one</Query></View></Views>");
  EXPECT_EQ(FindViewQuery(folder_.Path(), "a")->text, "one");
  WriteFile("views.xml", "<Views><View><Id>a</Id><Query>two</Query></View></Views>");
  EXPECT_EQ(FindViewQuery(folder_.Path(), "a")->text, "two");
  EXPECT_FALSE(FindViewQuery(folder_.Path(), "b"));
}

TEST_F(Views, TheQueryHasItsAttributes) {
  WriteFile("views/v.xml", "<View><Query subquery='NO' top='t' where='w' orderby='o' fields='f'>q</Query></View>");
  const auto view = FindViewQuery(folder_.Path(), "v");
  ASSERT_TRUE(view);
  EXPECT_TRUE(view->isMacro);
  EXPECT_EQ(view->top + view->where + view->orderBy + view->fields + view->text, "twofq");
}

}  // namespace
}  // namespace ods::test
