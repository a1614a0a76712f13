#include "model/Notifications.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/RecordingEventing.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;
using Lines = std::vector<std::string>;

// The actions as "code value value2".
Lines Read(std::string_view text) {
    NotificationList actions;
    EXPECT_EQ(GetNotificationsFromResponse(ReplyOf(text), actions), 0u);
    Lines lines;
    for (const auto& action : actions) {
        lines.push_back(std::to_string(action->type) + " " + NarrowUtf8(action->value) + " " +
                        NarrowUtf8(action->value2));
    }
    return lines;
}

TEST(Notifications, AnActionBeginsEmpty) {
    const CNotificationAction action;
    EXPECT_EQ(action.type, 0u);
    EXPECT_EQ(action.value, QM_W(""));
    EXPECT_EQ(action.value2, QM_W(""));
}

TEST(Notifications, EachVerbHasItsCode) {
    EXPECT_EQ(Read(R"([{"a":"create","m":"/c"},{"a":"upload","m":"/u"},{"a":"move","m":{"from":"/f","to":"/t"}},
                       {"a":"copy","m":"/k"},{"a":"rename","m":"/r"},{"a":"delete","m":"/d"},{"a":"policy","m":"p"},
                       {"a":"update","m":{"from":"/x","to":"/y"}},{"a":"mode","m":{"name":"Home","mode":"OFFLINE"}}])"),
              (Lines{"1 /c ", "2 /u ", "3 /f /t", "4 /k ", "5 /r ", "6 /d ", "7 p ", "8 /x /y", "9 Home OFFLINE"}));
}

TEST(Notifications, VerbsIgnoreCase) {
    EXPECT_EQ(Read(R"({"contents":[{"a":"delete","m":"/x/y.txt"},{"a":"MOVE","m":{"from":"/a","to":"/b"}}]})"),
              (Lines{"6 /x/y.txt ", "3 /a /b"}));
    EXPECT_EQ(Read(R"({"a":"Create","m":"/n"})"), (Lines{"1 /n "}));
}

TEST(Notifications, AnUnknownVerbHasCode0AndItsText) {
    EXPECT_EQ(Read(R"([{"a":"explode","m":"/n"},{"a":"","m":"/o"},{"m":"/p"}])"), (Lines{"0 /n ", "0 /o ", "0 /p "}));
}

TEST(Notifications, MissingMembersAndThoseOfAnotherKindAreEmpty) {
    EXPECT_EQ(Read(R"([{"a":"delete"},{"a":"move"},{"a":"move","m":"/a"},{"a":"update","m":{"to":"/t"}},
                       {"a":"delete","m":{"from":"/f"}},{"a":"delete","m":[1]},{"a":{"b":1},"m":"/z"}])"),
              (Lines{"6  ", "3  ", "3  ", "8  /t", "6  ", "6  ", "0 /z "}));
}

TEST(Notifications, NumbersAreReadAsTexts) {
    EXPECT_EQ(Read(R"({"a":"policy","m":17})"), (Lines{"7 17 "}));
}

TEST(Notifications, TextsAreUtf8) {
    NotificationList actions;
    EXPECT_EQ(GetNotificationsFromResponse(ReplyOf("{\"a\":\"delete\",\"m\":\"/B\xC3\xBCro\"}"), actions), 0u);
    EXPECT_EQ(actions.front()->value, QM_W("/B\u00FCro"));
}

TEST(Notifications, ContentsMayBeOneDictionaryAndNested) {
    EXPECT_EQ(Read(R"({"contents":{"a":"delete","m":"/d"},"a":"create"})"), (Lines{"6 /d "}));
    EXPECT_EQ(Read(R"([{"contents":[{"contents":{"a":"copy","m":"/c"}}]},{"a":"create","m":"/n"}])"),
              (Lines{"4 /c ", "1 /n "}));
}

TEST(Notifications, AReplyWithoutAnyIsAnEmptyList) {
    for (const char* text : {"[]", R"({"contents":[]})", R"({"contents":null})"}) {
        EXPECT_EQ(Read(text), Lines{}) << text;
    }
}

TEST(Notifications, AreAppendedAndCountedInTheLog) {
    const RecordedLog log;
    NotificationList actions;
    EXPECT_EQ(GetNotificationsFromResponse(ReplyOf(R"({"a":"Delete","m":"/d"})"), actions), 0u);
    EXPECT_EQ(GetNotificationsFromResponse(ReplyOf(R"({"a":"move","m":{"from":"/f","to":"/t"}})"), actions), 0u);
    EXPECT_EQ(log.Texts(101),
              (Lines{"Creating notification action: type: [Delete], value: [/d]",
                     "There are now 1 notification actions", "Extracted 1 notification actions from reply",
                     "Creating notification action: type: [move], value: [/f], value2: [/t]",
                     "There are now 2 notification actions", "Extracted 2 notification actions from reply"}));
    EXPECT_TRUE(log.Has(101, "NativeHttp", "CNativeHttp::ProcessNotificationJSONDictionary",
                        "There are now 2 notification actions"));
    EXPECT_TRUE(log.Has(101, "NativeHttp", "CNativeHttp::GetNotificationsFromResponse",
                        "Extracted 2 notification actions from reply"));
}

TEST(Notifications, AReplyThatIsNoJsonIsASuccessWithoutActions) {
    const RecordedLog log;
    EXPECT_EQ(Read("<html>"), Lines{});
    ASSERT_EQ(log.Texts(102).size(), 1u);
    EXPECT_EQ(log.Texts(102)[0].find("Failed to parse JSON from server, parser error = ["), 0u);
    EXPECT_EQ(log.Texts(103), Lines{});
    EXPECT_TRUE(log.Has(101, "Extracted 0 notification actions from reply"));
}

TEST(Notifications, WhatTheLibraryThrowsEndsTheListAndIsLogged) {
    const RecordedLog log;
    EXPECT_EQ(Read(R"([{"a":"create","m":"/n"},"no dictionary",{"a":"delete","m":"/d"}])"), (Lines{"1 /n "}));
    ASSERT_EQ(log.Texts(103).size(), 1u);
    EXPECT_EQ(log.Texts(103)[0].find("JSON library has thrown a runtime_error exception ("), 0u);
    EXPECT_TRUE(log.Has(101, "Extracted 1 notification actions from reply"));
    EXPECT_EQ(Read(std::string(100000, '[')), Lines{});
}

}  // namespace
}  // namespace quillmark
