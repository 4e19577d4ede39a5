// An Excel workbook that is saved while a server has it open.
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"

namespace ods::test {
namespace {

constexpr const char* kDescription = "SELECT * FROM `Sheet1$` WHERE (1=2)\n";

/// How a connection names its workbook, and the file that it means.
struct WorkbookNames {
  const char* catalog;
  const char* file;
};

class Workbook : public ::testing::TestWithParam<WorkbookNames> {
 protected:
  Workbook() {
    standIn_.Run(R"(CREATE TABLE "Sheet1$" ("No" double, "Name" varchar(255));
                    INSERT INTO "Sheet1$" VALUES (1, 'Ann');)");
    Save();
    standIn_.Connect(";DefaultDatabase=" + standIn_.Folders().Root() + "/" + GetParam().catalog);
    server_ = std::make_unique<ServerProcess>(standIn_.Folders());
    client_ = std::make_unique<QueueClient>(standIn_.Folders());
  }
  void TearDown() override { EXPECT_EQ(server_->Stop(), 0); }

  /// Whatever the resolution of the file system's clock: each save is an hour later.
  void Save() {
    const std::string path = standIn_.Folders().Root() + "/" + GetParam().file;
    WriteTextFile(path, "a workbook");
    saved_ += std::chrono::hours(1);
    std::filesystem::last_write_time(path, saved_);
  }
  /// After the answer to a second message the server has begun a round since this was called.
  void LetARoundPass() {
    for (int i = 0; i < 2; ++i) EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/Ping"), "OK");
  }
  XmlDocument AskFor(const std::string& field) {
    return client_->AskDocument(
        Request("TableData",
                "<TableId>[TABLE]Sheet1$</TableId><PageSize>1</PageSize><PrimaryKey>No</PrimaryKey>"
                "<Fields><Field><Id>" +
                    field + "</Id></Field></Fields>"));
  }
  [[nodiscard]] std::size_t Connects() const {
    return Split(standIn_.Folders().LogText(), "'Connect to database: ").size() - 1;
  }

  StandIn standIn_{"EXCEL"};
  std::filesystem::file_time_type saved_ = std::filesystem::file_time_type::clock::now();
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

TEST_P(Workbook, ThatIsSavedWhileTheServerRunsIsConnectedToAnewAtTheNextRound) {
  LetARoundPass();
  EXPECT_EQ(Connects(), 1U);
  Save();
  LetARoundPass();
  EXPECT_EQ(Connects(), 2U);
  LetARoundPass();
  EXPECT_EQ(Connects(), 2U) << "once a save";
}

TEST_P(Workbook, ThatIsSavedHasItsTablesDescribedAfresh) {
  EXPECT_EQ(GetNodeText(AskFor("Name"), "/XML/Records/R/V"), "Ann");
  EXPECT_NE(standIn_.NewStatements().find(kDescription), std::string::npos);
  standIn_.Run(R"(ALTER TABLE "Sheet1$" ADD COLUMN "City" varchar(255); UPDATE "Sheet1$" SET "City"='Oslo';)");
  LetARoundPass();
  EXPECT_EQ(GetNodeText(AskFor("City"), "/XML/Message"),
            "Unable to get information about field 'City' in table '[TABLE]Sheet1$'. Please make sure that the field "
            "exist. TableData[Make field list for the select statement]");
  EXPECT_EQ(standIn_.NewStatements(), "") << "the description is kept as long as the connection";
  Save();
  LetARoundPass();
  EXPECT_EQ(GetNodeText(AskFor("City"), "/XML/Records/R/V"), "Oslo");
  EXPECT_EQ(standIn_.NewStatements(), std::string(kDescription) + "SELECT `City`,`No` FROM `Sheet1$` ORDER BY `No`\n");
}

INSTANTIATE_TEST_SUITE_P(Named, Workbook,
                         ::testing::Values(WorkbookNames{"Book", "Book.xls"}, WorkbookNames{"Book.xlsx", "Book.xlsx"}),
                         [](const auto& instance) {
                           return instance.param.catalog == std::string("Book") ? "WithoutExtension" : "WithExtension";
                         });

}  // namespace
}  // namespace ods::test
