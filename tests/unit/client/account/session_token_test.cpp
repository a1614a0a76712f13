#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class SessionToken : public ClientTest {};

TEST_F(SessionToken, WhatWasSetIsGot) {
    WideString token = QM_W("x");
    client->GetSessionToken(token);
    EXPECT_EQ(token, QM_W(""));
    client->SetSessionToken(QM_W("t0ken"));
    client->GetSessionToken(token);
    EXPECT_EQ(token, QM_W("t0ken"));
    EXPECT_EQ(factory->Calls().back(), "SetSessionToken(s1, \"t0ken\")");
}

TEST_F(SessionToken, BothOpenAScope) {
    WideString token;
    client->SetSessionToken(QM_W("t0ken"));
    client->GetSessionToken(token);
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::SetSessionToken", ""));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::GetSessionToken", ""));
}

TEST_F(SessionToken, ItIsThatOfTheNewestSessionOnceTheOldOneIsGone) {
    client->SetSessionToken(QM_W("old"));
    client->CreateNewSession(QM_W("new"));
    WideString token;
    client->GetSessionToken(token);
    EXPECT_EQ(token, QM_W("new"));
}

}  // namespace
}  // namespace quillmark::test
