// What a program asks the user, and what it types on the host's command line.
#include "tests/windows/module_fixture.h"

namespace vlisp::test {
namespace {

class Input : public StartedHere {};

TEST_F(Input, GetpointIsAnsweredByAPoint) {
    host.answers = {reply(1, 3, 4.5)};
    EXPECT_EQ(evaluate("(getpoint '(1.0 2.5) \"Where? \")"), "(3.000 4.500)");
    ASSERT_EQ(host.requests.size(), 1u);
    const HostRequest& asked = host.requests[0];
    EXPECT_EQ(asked.kind, 1);
    EXPECT_EQ(asked.mode, 1);
    EXPECT_TRUE(asked.hasBasePoint);
    EXPECT_EQ(asked.x, 1.0);
    EXPECT_EQ(asked.y, 2.5);
    EXPECT_EQ(narrow(asked.messageText), "Where? ");
    EXPECT_EQ(asked.reserved, 0u);
}

TEST_F(Input, GetdistTakesTwoPointsOrANumber) {
    host.answers = {reply(1, 1, 1), reply(1, 4, 5)};
    EXPECT_EQ(evaluate("(getdist \"From \")"), "5.000");
    ASSERT_EQ(host.requests.size(), 2u);
    EXPECT_FALSE(host.requests[0].hasBasePoint);
    EXPECT_TRUE(host.requests[1].hasBasePoint);
    EXPECT_EQ(host.requests[1].x, 1.0);
    EXPECT_EQ(narrow(host.requests[1].messageText), "Specify second point:");
    host.answers = {reply(0, 0, 0, "12.5")};
    EXPECT_EQ(evaluate("(getdist)"), "12.500");
    EXPECT_EQ(host.requests.size(), 3u);
}

TEST_F(Input, TypedTextsAreConverted) {
    host.answers = {reply(0, 0, 0, "some text"), reply(0, 0, 0, "2.5x"), reply(0, 0, 0, "7x")};
    EXPECT_EQ(evaluate("(list (getstring \"S\") (getreal \"R\") (getint \"I\"))"),
              "(\"some text\" 2.500 7)");
    ASSERT_EQ(host.requests.size(), 3u);
    const char* prompts[] = {"S", "R", "I"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(host.requests[i].mode, 0);
        EXPECT_EQ(narrow(host.requests[i].messageText), prompts[i]);
    }
}

TEST_F(Input, EntselGivesWhatWasPickedAndWhere) {
    host.add(10111);
    host.answers = {reply(4, 1, 2, "", 1, 101), reply(4, 1, 2, "", 0, 101)};
    EXPECT_EQ(evaluate("(begin (setq e (entsel)) (list (eq (car e) (entlast)) (cadr e)))"),
              "(T (1.000 2.000 0.000))");
    EXPECT_EQ(evaluate("(entsel)"), "nil") << "nothing was there";
    EXPECT_EQ(host.requests[0].mode, 4);
    EXPECT_EQ(narrow(host.requests[0].messageText), "Select object: ");
}

TEST_F(Input, SsgetTakesWhatTheUserSelects) {
    host.add(10111);
    host.add(10141);
    host.selected = {102};
    host.answers = {reply(3, 0, 0, "", 1), reply(3, 0, 0, "", 0)};
    EXPECT_EQ(evaluate("(begin (setq s (ssget \"Which? \")) "
                       "(list (sslength s) (eq (ssname s 0) (entlast))))"),
              "(1 T)");
    EXPECT_EQ(evaluate("(ssget)"), "nil") << "nothing was selected";
    ASSERT_EQ(host.requests.size(), 2u);
    EXPECT_EQ(host.requests[0].mode, 3);
    EXPECT_EQ(narrow(host.requests[0].messageText), "Which? ");
    EXPECT_EQ(narrow(host.requests[1].messageText), "Select objects: ");
}

TEST_F(Input, AReplyOfAnotherModeCancels) {
    host.answers = {reply(0), reply(1, 1, 1), reply(3), reply(0), reply(4)};
    EXPECT_EQ(evaluate("(list (getpoint) (getint) (getstring) (ssget) (entsel))"),
              "(nil nil nil nil nil)");
    EXPECT_EQ(host.requests.size(), 5u);
}

TEST_F(Input, CommandTypesItsPiecesOneByOne) {
    host.answers = {reply(0, 0, 0, "", 0, 0, 11), reply(0), reply(0), reply(0)};
    EXPECT_EQ(evaluate("(command \"line\" '(0 0) 2.5 (ssget \"X\"))"), "\"1\"");
    std::string seen;
    for (const HostRequest& request : host.requests) {
        EXPECT_EQ(request.kind, 0);
        EXPECT_EQ(request.context, 0) << "that of the reply before the command";
        seen += std::to_string(request.mode) + narrow(request.inputText) + " ";
    }
    EXPECT_EQ(seen, "1LINE 10,0 12.5000 51 ");
    host.answers = {reply(0, 0, 0, "", 0, 0, 12), reply(0)};
    EXPECT_EQ(evaluate("(command)"), "nil");
    EXPECT_EQ(evaluate("(command)"), "nil");
    EXPECT_EQ(host.requests.back().context, 12);
}

TEST_F(Input, VariablesAreReadAndSet) {
    host.variables = {{"OSMODE", u"5"}, {"CLAYER", u"\"0\""}, {"LTSCALE", u"1.5"}};
    EXPECT_EQ(evaluate("(list (getvar \"OSMODE\") (getvar \"CLAYER\") (getvar \"LTSCALE\") "
                       "(getvar \"NONE\"))"),
              "(5 \"0\" 1.500 nil)");
    EXPECT_EQ(evaluate("(list (setvar \"OSMODE\" 7) (setvar \"LTSCALE\" 2.5) "
                       "(setvar \"CLAYER\" \"walls\") (setvar \"NONE\" 7) (setvar \"OSMODE\" 'a))"),
              "(T T T nil nil)");
    EXPECT_EQ(host.log, (Lines{"GetInputString", "GetMainFrameWindow", "GetInputString",
                               "GetMainFrameWindow", "SetVarInt OSMODE 7", "SetVarDbl LTSCALE 2.5",
                               "SetVarString CLAYER \"walls\"", "SetVarInt NONE 7"}));
    EXPECT_EQ(evaluate("(getvar \"CLAYER\")"), "\"walls\"");
}

TEST_F(Input, VmWaitLetsTimePass) {
    EXPECT_EQ(evaluate("(vm-wait 20)"), "nil");
    EXPECT_EQ(evaluate("(vm-wait -5)"), "nil");
}

}  // namespace
}  // namespace vlisp::test
