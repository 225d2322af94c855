// The document with which a connection test of another component hands its result over: what is passed
// on of it, and what is not.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "Journal.h"
#include "NW_Common.h"
#include "PopupKpiRoom.h"

namespace {

using PopupKpiDocument = PopupKpiRelay;

std::string TestDocument(const std::string& method, const std::string& result) {
  return R"({"id":"EV011","execution_method":)" + method + R"(,"marquee_test_result":)" + result + "}";
}

TEST_F(PopupKpiDocument, PassesTheResultOfAConnectionTestOn) {
  HandOver(kTest);
  EXPECT_EQ(test_log::Count(std::string("command =>") + kTest), 1U);
  EXPECT_EQ(test_log::Count(std::string("rawJson [") + kTest + "] bRet[1] err[]"), 1U);
  EXPECT_EQ(test_log::Count("EV011=>" + TestDescription("manual", "success")), 1U);
  EXPECT_EQ(m_relay.GetExecutionMethod(), "manual");
  EXPECT_EQ(m_relay.GetTestResult(), "success");
  EXPECT_EQ(Sent(), Texts{TestResult("manual", "success")});
  EXPECT_EQ(journal::Texts("service"), Texts{"21_wireless"});
  EXPECT_EQ(journal::Texts("event"), Texts{"MARQUEE_TEST_RESULT"});
  EXPECT_EQ(journal::Texts("code"), Texts{"EV011"});
  EXPECT_EQ(journal::Texts("description"), Texts{"{" + TestDescription("manual", "success") + "}"});

  HandOver(kTest);
  EXPECT_EQ(Sent().size(), 2U) << "each time it is told";
  const HeapString left(vconf_get_str(vconf_keys::kWirelessKpiInfo));
  EXPECT_STREQ(left.get(), kTest);
}

/// A document, and what is passed on of it; without texts it sends nothing.
struct Document {
  const char* name;
  std::string text;
  std::optional<std::pair<std::string, std::string>> passed;
  const char* exception;  ///< begins the message of what is caught, null when nothing is
  bool is_read = true;
};

void PrintTo(const Document& document, std::ostream* out) {
  *out << document.name;
}

constexpr char kNoText[] = "Type is not convertible to string";
constexpr char kNoObject[] = "in Json::Value::";

std::pair<std::string, std::string> Both(const char* method, const char* result) {
  return {method, result};
}

const Document kDocuments[] = {
    {"OfAnotherEvent", R"({"id":"EV010"})", {}, nullptr},
    {"OfAnotherEventWithBothTexts",
     R"({"id":"EV010","execution_method":"manual","marquee_test_result":"success"})",
     {},
     nullptr},
    {"WithItsIdInLowerCase", R"({"id":"ev011"})", {}, nullptr},
    {"WithASpaceInItsId", R"({"id":"EV011 "})", {}, nullptr},
    {"WithAZeroByteInItsId", R"({"id":"EV011\u0000"})", {}, nullptr},
    {"WithAnEmptyId", R"({"id":""})", {}, nullptr},
    {"WithoutAnId", R"({"execution_method":"manual","marquee_test_result":"success"})", {}, nullptr},
    {"WithTheIdOfAnotherCase", R"({"ID":"EV011"})", {}, nullptr},
    {"OfNothing", "{}", {}, nullptr},
    {"Null", "null", {}, nullptr},
    {"IdNull", R"({"id":null})", {}, nullptr},
    {"IdNumber", R"({"id":11})", {}, nullptr},
    {"IdBool", R"({"id":true})", {}, nullptr},
    {"IdArray", R"({"id":["EV011"]})", {}, kNoText},
    {"IdObject", R"({"id":{"id":"EV011"}})", {}, kNoText},
    {"RootArray", R"([{"id":"EV011"}])", {}, kNoObject},
    {"RootText", R"("EV011")", {}, kNoObject},
    {"RootNumber", "11", {}, kNoObject},
    {"RootBool", "true", {}, kNoObject},

    {"WithNothingButItsId", R"({"id":"EV011"})", Both("", ""), nullptr},
    {"WithoutAResult", R"({"id":"EV011","execution_method":"auto"})", Both("auto", ""), nullptr},
    {"WithoutAMethod", R"({"id":"EV011","marquee_test_result":"failed"})", Both("", "failed"), nullptr},
    {"TextsEmpty", TestDocument(R"("")", R"("")"), Both("", ""), nullptr},
    {"TextsNull", TestDocument("null", "null"), Both("", ""), nullptr},
    {"TextsNumbers", TestDocument("1", "-2"), Both("1", "-2"), nullptr},
    {"TextsReal", TestDocument("1.5", "0.25"), Both("1.5", "0.25"), nullptr},
    {"TextsBool", TestDocument("true", "false"), Both("true", "false"), nullptr},
    {"MethodArray", TestDocument("[]", R"("success")"), {}, kNoText},
    {"MethodObject", TestDocument("{}", R"("success")"), {}, kNoText},
    {"ResultArray", TestDocument(R"("manual")", R"(["success"])"), {}, kNoText},
    {"ResultObject", TestDocument(R"("manual")", R"({"a":1})"), {}, kNoText},
    {"TextsOfAnyBytes", TestDocument(R"("한글")", R"("a\"b\\c\n")"), Both("한글", "a\"b\\c\n"), nullptr},
    {"TextsThatLookLikeFields", TestDocument(R"("a;select=1")", R"("b,c=d}")"),
     Both("a;select=1", "b,c=d}"), nullptr},
    {"MoreThanIsAskedFor", R"({"x":[1],"id":"EV011","y":{}})", Both("", ""), nullptr},

    // What the strict rules refuse, and these do not.
    {"Commented", std::string("/* how it went */") + kTest + "// so", Both("manual", "success"),
     nullptr},
    {"FollowedByMore", std::string(kTest) + "{", Both("manual", "success"), nullptr},
    {"WithAKeyTwice", R"({"id":"EV010","id":"EV011"})", Both("", ""), nullptr},
    {"WithAKeyTwiceTheOtherWay", R"({"id":"EV011","id":"EV010"})", {}, nullptr},
    {"WithACommaTooMany", R"({"id":"EV011",})", Both("", ""), nullptr},

    {"Empty", "", {}, nullptr, false},
    {"Blank", " \n", {}, nullptr, false},
    {"NoJson", "hello", {}, nullptr, false},
    {"CutOff", R"({"id":"EV011","execution_method":"man)", {}, nullptr, false},
    {"WithoutItsEnd", R"({"id":"EV011")", {}, nullptr, false},
    {"InSingleQuotes", "{'id':'EV011'}", {}, nullptr, false},
    {"WithoutQuotes", "{id:EV011}", {}, nullptr, false},
    {"WithAnUnknownEscape", R"({"id":"EV011","execution_method":"\q"})", {}, nullptr, false},
};

class EachDocument : public PopupKpiRelay, public testing::WithParamInterface<Document> {};

TEST_P(EachDocument, IsPassedOnOrLeavesEverythingAsItWas) {
  const Document& document = GetParam();
  HandOver(document.text);
  const std::string read =
      "rawJson [" + OnOneLine(document.text) + "] bRet[" + (document.is_read ? "1" : "0");
  const Texts logged = test_log::Lines();
  const auto holds = [&](const std::string& text) {
    return std::ranges::any_of(
        logged, [&](const std::string& line) { return line.find(text) != std::string::npos; });
  };
  EXPECT_TRUE(holds(read + (document.is_read ? "] err[]" : "] err[* Line ")));
  EXPECT_EQ(holds("Exception caught "), document.exception != nullptr);
  if (document.exception != nullptr) {
    EXPECT_TRUE(holds(std::string("Exception caught ") + document.exception));
  }
  EXPECT_FALSE(holds("> exception ")) << "it is caught here, and not at the border";
  if (document.passed) {
    EXPECT_EQ(Sent(), Texts{TestResult(document.passed->first, document.passed->second)});
    EXPECT_EQ(m_relay.GetExecutionMethod(), document.passed->first);
    EXPECT_EQ(m_relay.GetTestResult(), document.passed->second);
    EXPECT_EQ(m_relay.GetPopupReason(), -1);
    EXPECT_EQ(m_relay.GetPopupSelection(), -1);
  } else {
    ExpectNothing(document.text);
  }

  // The next one is none the worse for it.
  Forget();
  HandOver(kTest);
  EXPECT_EQ(Sent(), Texts{TestResult("manual", "success")});
}

INSTANTIATE_TEST_SUITE_P(Of, EachDocument, testing::ValuesIn(kDocuments),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(PopupKpiDocument, CatchesADocumentThatIsNestedTooDeep) {
  HandOver(std::string(2000, '[') + std::string(2000, ']'));
  EXPECT_TRUE(test_log::Has("Exception caught Exceeded stackLimit in readValue()."));
  ExpectNothing("nested");
}

TEST_F(PopupKpiDocument, KeepsTheLastTestWhenTheNextIsNoGood) {
  HandOver(kTest);
  Forget();
  HandOver(TestDocument(R"("auto")", "{}"));
  EXPECT_EQ(Sent(), Texts{});
  EXPECT_EQ(m_relay.GetExecutionMethod(), "manual");
  EXPECT_EQ(m_relay.GetTestResult(), "success");
}

TEST_F(PopupKpiDocument, HandsOverTextsThatAJournalCanHold) {
  HandOver(TestDocument("\"caf\xe9\"", R"("a\u0000b")"));
  EXPECT_EQ(Sent().size(), 1U);
  EXPECT_EQ(journal::Texts("description"), Texts{"{" + TestDescription("caf\uFFFD", "a\uFFFDb") + "}"});
}

}  // namespace
