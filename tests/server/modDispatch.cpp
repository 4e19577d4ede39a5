#include "server/modDispatch.h"

#include <gtest/gtest.h>
#include <string>

#include "catalogue/modExactCatalogue.h"
#include "catalogue/modFieldList.h"
#include "catalogue/modKeys.h"
#include "catalogue/modTableList.h"
#include "common/Error.h"
#include "doubles/FakeSession.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"
#include "tabledata/modExactTableData.h"
#include "tabledata/modTableData.h"
#include "users/modAuthorize.h"
#include "users/modInitialize.h"
#include "users/modUsersAndRoles.h"

namespace ods {
namespace {

void Raise(const XmlDocument& /*request*/, XmlDocument& /*response*/, DataSession& /*session*/) {
  throw Error(7, "handler failed");
}

RequestHandler FindRaise(std::string_view /*type*/, bool /*exact*/) { return &Raise; }

std::string Dispatched(const std::string& type, DataSession* session) {
  const XmlDocument request("<XML><Type>" + type + "</Type></XML>");
  XmlDocument response;
  DispatchRequest(type, request, response, session, &FindHandler);
  return response.Xml();
}

std::string Stamped(const std::string& xml) {
  XmlDocument response(xml);
  StampResponse(response, "ID");
  return response.Xml();
}

TEST(DispatchTable, KnowsTheHandlers) {
  EXPECT_EQ(FindHandler("Ping", false), &Ping);
  EXPECT_EQ(FindHandler("TableList", false), &ProcessTableList);
  EXPECT_EQ(FindHandler("FieldList", false), &ProcessFieldList);
  EXPECT_EQ(FindHandler("KeyList", false), &ProcessKeyList);
  EXPECT_EQ(FindHandler("PrimaryKey", false), &ProcessPrimaryKey);
  EXPECT_EQ(FindHandler("TableData", false), &TableData);
  EXPECT_EQ(FindHandler("Initialize", false), &ProcessInitialize);
  EXPECT_EQ(FindHandler("Authorize", false), &ProcessAuthorize);
  EXPECT_EQ(FindHandler("UsersAndRoles", false), &ProcessUsersAndRoles);
}

TEST(DispatchTable, KnowsTheHandlersOfExactPaging) {
  EXPECT_EQ(FindHandler("Ping", true), &Ping);
  EXPECT_EQ(FindHandler("TableList", true), &ProcessExactTableList);
  EXPECT_EQ(FindHandler("FieldList", true), &ProcessExactFieldList);
  EXPECT_EQ(FindHandler("KeyList", true), &ProcessExactKeyList);
  EXPECT_EQ(FindHandler("PrimaryKey", true), &ProcessExactPrimaryKey);
  EXPECT_EQ(FindHandler("TableData", true), &ExactTableData);
  EXPECT_EQ(FindHandler("Initialize", true), &ProcessExactInitialize);
  EXPECT_EQ(FindHandler("Authorize", true), &ProcessAuthorize);
  EXPECT_EQ(FindHandler("UsersAndRoles", true), &ProcessUsersAndRoles);
  EXPECT_EQ(FindHandler("ping", true), nullptr);
}

TEST(DispatchTable, ComparesExactly) {
  for (const char* type : {"ping", "PING", "Ping ", "", "Status", "initialize", "authorize", "Usersandroles"})
    EXPECT_EQ(FindHandler(type, false), nullptr) << type;
}

TEST(Dispatch, PingIsAnswered) {
  test::FakeSession fake;
  EXPECT_EQ(Dispatched("Ping", &fake.session), "<XML><Ping>OK</Ping></XML>");
}

RequestHandler FindByMode(std::string_view /*type*/, bool exact) { return exact ? &Raise : &Ping; }

TEST(Dispatch, TheSessionTellsWhetherPagesAreExact) {
  test::FakeSession fake;
  const XmlDocument request;
  XmlDocument response;
  DispatchRequest("any", request, response, &fake.session, &FindByMode);
  EXPECT_EQ(response.Xml(), "<XML><Ping>OK</Ping></XML>");
  fake.session.exact = std::make_shared<ExactSession>();
  EXPECT_RAISES(DispatchRequest("any", request, response, &fake.session, &FindByMode), 7, "handler failed");
}

TEST(Dispatch, UsersAndRolesOfADatabaseWithoutThemAreTheStampAlone) {
  test::FakeSession fake;
  EXPECT_EQ(Stamped(Dispatched("UsersAndRoles", &fake.session)), "<XML><DataSession>ID</DataSession></XML>");
}

TEST(Dispatch, AnUnknownTypeGetsErrorOne) {
  test::FakeSession fake;
  EXPECT_EQ(Dispatched("ping", &fake.session),
            "<XML><Error>1</Error><Message>Unknown message type: ping</Message></XML>");
  EXPECT_EQ(Dispatched("", &fake.session), "<XML><Error>1</Error><Message>Unknown message type: </Message></XML>");
}

TEST(Dispatch, MarkupInATypeIsText) {
  test::FakeSession fake;
  const XmlDocument request;
  XmlDocument response;
  DispatchRequest("<a>&", request, response, &fake.session, &FindHandler);
  EXPECT_EQ(GetNodeText(response, "/XML/Message"), "Unknown message type: <a>&");
}

TEST(Dispatch, WithoutASessionEveryTypeGetsErrorThousand) {
  for (const char* type : {"Ping", "TableList", "nonsense", ""}) {
    EXPECT_EQ(Dispatched(type, nullptr),
              "<XML><Error>1000</Error><Message>The database connection is not open. The database configuration may be "
              "invalid.</Message></XML>");
  }
}

TEST(Dispatch, AStatusRequestIsUnknownWithAndWithoutASession) {
  test::FakeSession fake;
  constexpr const char* kUnknown = "<XML><Error>1</Error><Message>Unknown message type: Status</Message></XML>";
  EXPECT_EQ(Dispatched("Status", nullptr), kUnknown);
  EXPECT_EQ(Dispatched("Status", &fake.session), kUnknown);
}

TEST(Dispatch, TheErrorOfAHandlerIsRaised) {
  test::FakeSession fake;
  const XmlDocument request;
  XmlDocument response;
  EXPECT_RAISES(DispatchRequest("any", request, response, &fake.session, &FindRaise), 7, "handler failed");
}

TEST(Stamp, IsAppendedOrReplaced) {
  EXPECT_EQ(Stamped("<XML><Ping>OK</Ping></XML>"), "<XML><Ping>OK</Ping><DataSession>ID</DataSession></XML>");
  EXPECT_EQ(Stamped("<XML><DataSession>old</DataSession><Ping/></XML>"),
            "<XML><DataSession>ID</DataSession><Ping/></XML>");
}

TEST(Stamp, OnlyTheChildOfTheRootCounts) {
  EXPECT_EQ(Stamped("<XML><A><DataSession>x</DataSession></A></XML>"),
            "<XML><A><DataSession>x</DataSession></A><DataSession>ID</DataSession></XML>");
}

TEST(Stamp, AResponseWithoutTheRootGetsIt) {
  EXPECT_EQ(Stamped(""), "<XML><DataSession>ID</DataSession></XML>");
  EXPECT_EQ(Stamped("<Other/>"), "<XML><DataSession>ID</DataSession></XML>");
}

}  // namespace
}  // namespace ods
