#include "Export.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "ScriptedServer.h"
#include "platform/system/TestFolder.h"
#include "platform/xml/Xml.h"

namespace odbc_data {
namespace {

using ods::testing::ReadText;
using ods::testing::TestFolder;
using ods::testing::WriteText;

/// A server of the numbers 1 to 10, which fails behind a number.
ScriptedServer::Script Numbers(int failsBehind = 100) {
  return [failsBehind](const std::string& request) -> std::string {
    const ods::XmlDocument document(request);
    const int first = NumberOf(ods::GetNodeText(document, "/XML/LastPos")) + 1;
    if (first > failsBehind) return Whole("<Error>1000</Error><Message>gone</Message>");
    const int last = std::min(first + std::stoi(ods::GetNodeText(document, "/XML/PageSize")) - 1, 10);
    return PageOf(first, last, last < 10, first == 1 ? "<Navigated>gotofirst</Navigated><Total>10</Total>" : kReadOn);
  };
}

ExportJob Job(std::unique_ptr<RowWriter> writer, const std::string& after = "") {
  return {.question = {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 3},
          .columns = {{"no", ColumnKind::kNumber}},
          .walk = {.after = after},
          .writer = std::move(writer)};
}

TEST(Export, WritesEveryRowAndTellsHowFarItIs) {
  const ScriptedServer server(Numbers());
  Client client(server.Folders());
  std::ostringstream stream;
  ExportOutput output(stream);
  Exported exported;
  ExportJob job = Job(MakeCsvWriter("\n"));
  std::vector<std::int64_t> shown;
  job.show = [&](const Progress& progress) {
    shown.push_back(progress.rows);
    EXPECT_EQ(progress.total, 10);
  };
  RunExport(client, std::move(job), output, exported);
  EXPECT_EQ(stream.str(), "no\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n");
  EXPECT_EQ(exported.rows, 10);
  EXPECT_EQ(exported.position, PositionOf(10));
  EXPECT_THAT(shown, ::testing::ElementsAre(3, 6, 9, 10));
}

TEST(Export, GoesOnInTheFileOfAnExportThatFailed) {
  const TestFolder folder;
  const std::string path = folder / "out.json";
  Exported exported;
  {
    const ScriptedServer server(Numbers(6));
    Client client(server.Folders());
    ExportOutput output(path, false);
    EXPECT_THROW(RunExport(client, Job(MakeJsonWriter()), output, exported), ErrorAnswer);
  }
  EXPECT_EQ(exported.rows, 6);
  EXPECT_EQ(exported.position, PositionOf(6));
  {
    const ScriptedServer server(Numbers());
    Client client(server.Folders());
    ExportOutput output(path, true);
    RunExport(client, Job(MakeJsonWriter(), exported.position), output, exported);
  }
  std::string expected = "[";
  for (int i = 1; i <= 10; ++i) expected += (i == 1 ? "\n{\"no\":" : ",\n{\"no\":") + std::to_string(i) + "}";
  EXPECT_EQ(ReadText(path), expected + "\n]\n");
}

TEST(Export, StopsBetweenPages) {
  const ScriptedServer server(Numbers());
  Client client(server.Folders());
  std::ostringstream stream;
  ExportOutput output(stream);
  Exported exported;
  ExportJob job = Job(MakeCsvWriter("\n"));
  job.stop = [&exported] { return exported.rows >= 6; };
  EXPECT_THROW(RunExport(client, std::move(job), output, exported), Stopped);
  EXPECT_EQ(stream.str(), "no\n1\n2\n3\n4\n5\n6\n");
  EXPECT_EQ(exported.position, PositionOf(6));
  EXPECT_TRUE(std::filesystem::is_empty(server.Folders().results + "/new")) << "the page under way was taken out";
}

TEST(Export, WhatCannotBeWrittenIsToldAndDoesNotCount) {
  const ScriptedServer server(Numbers());
  Client client(server.Folders());
  Exported exported;
  ExportOutput output("/dev/full", false);
  try {
    RunExport(client, Job(MakeCsvWriter("\n")), output, exported);
    ADD_FAILURE() << "written";
  } catch (const Failure& error) {
    EXPECT_STREQ(error.what(), "Unable to write to the file \"/dev/full\": No space left on device");
  }
  EXPECT_EQ(exported.rows, 0);
  EXPECT_EQ(exported.position, "");
}

TEST(Export, AFileIsCutBackToWhatCounts) {
  const TestFolder folder;
  WriteText(folder / "out", "old");
  {
    ExportOutput output(folder / "out", true);
    output.Commit("new");
    WriteText(folder / "out", "oldnew and half of a page");
  }
  EXPECT_EQ(ReadText(folder / "out"), "oldnew");
  EXPECT_THROW(ExportOutput(folder / "missing/out", false), Failure);
}

}  // namespace
}  // namespace odbc_data
