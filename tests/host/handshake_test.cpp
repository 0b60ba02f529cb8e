// Tests of host/handshake.h.
#include "host/handshake.h"

#include "tests/support/printed_seed.h"
#include "tests/support/recording_host.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace vlisp {
namespace {

using test::RecordingHost;
using Log = std::vector<std::string>;

HostRequest requestOf(RequestKind kind, std::u16string_view text = {}) {
    HostRequest request;
    request.kind = static_cast<std::int32_t>(kind);
    setField(request.messageText, text);
    return request;
}

class HandshakeTest : public testing::Test {
  protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }

    static void reset() {
        handshake().directMode = false;
        handshake().waitingForReply = false;
        handshake().reply = HostReply();
        handshake().userInput = HostRequest();
    }

    RecordingHost host;
};

// --- the record ---

TEST(HostRequestRecord, HasItsFixedLayout) {
    const std::vector<std::pair<std::size_t, std::size_t>> fields{
        {offsetof(HostRequest, kind), 0},       {offsetof(HostRequest, mode), 4},
        {offsetof(HostRequest, x), 8},          {offsetof(HostRequest, y), 16},
        {offsetof(HostRequest, reserved), 24},  {offsetof(HostRequest, hasBasePoint), 32},
        {offsetof(HostRequest, padding), 33},   {offsetof(HostRequest, entityId), 36},
        {offsetof(HostRequest, count), 40},     {offsetof(HostRequest, context), 44},
        {offsetof(HostRequest, inputText), 48}, {offsetof(HostRequest, messageText), 648},
    };
    for (const auto& [actual, expected] : fields) EXPECT_EQ(actual, expected);
    EXPECT_EQ(sizeof(HostRequest), 6648u);
    EXPECT_EQ(sizeof(HostRequest::inputText), 600u);
    EXPECT_EQ(sizeof(HostRequest::messageText), 6000u);
    EXPECT_EQ(sizeof(HostRequest::hasBasePoint), 1u);
    EXPECT_EQ(sizeof(HostRequest::reserved), 8u);
    EXPECT_EQ(hostRequestMessage, 32771u);
}

// What is stored in the fields stands where the layout says, least byte first.
TEST(HostRequestRecord, StoresItsFieldsWhereTheHostReadsThem) {
    HostRequest request;
    request.kind = 0x01020304;
    request.mode = 0x05060708;
    request.x = 1.0;
    request.y = -2.0;
    request.hasBasePoint = true;
    request.entityId = 0x11121314;
    request.count = -1;
    request.context = 0x21222324;
    setField(request.inputText, u"AB");
    setField(request.messageText, u"\u20ac");
    const auto* bytes = reinterpret_cast<const unsigned char*>(&request);
    const auto at = [&](std::size_t offset, std::vector<unsigned> expected) {
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(bytes[offset + i], expected[i]) << "at " << offset + i;
    };
    at(0, {4, 3, 2, 1, 8, 7, 6, 5});
    at(8, {0, 0, 0, 0, 0, 0, 0xf0, 0x3f});
    at(16, {0, 0, 0, 0, 0, 0, 0, 0xc0});
    at(24, {0, 0, 0, 0, 0, 0, 0, 0});
    at(32, {1});
    at(36, {0x14, 0x13, 0x12, 0x11});
    at(40, {0xff, 0xff, 0xff, 0xff});
    at(44, {0x24, 0x23, 0x22, 0x21});
    at(48, {'A', 0, 'B', 0, 0, 0});
    at(648, {0xac, 0x20, 0, 0});
}

TEST(HostRequestRecord, KindsHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(RequestKind::CommandInput), 0);
    EXPECT_EQ(static_cast<int>(RequestKind::UserInput), 1);
    EXPECT_EQ(static_cast<int>(RequestKind::EvalDone), 2);
    EXPECT_EQ(static_cast<int>(RequestKind::Message), 3);
}

// --- setField ---

TEST(SetField, CutsToWhatFitsAndTerminates) {
    char16_t field[6];
    const auto set = [&](std::u16string_view text) {
        std::fill(std::begin(field), std::end(field), u'#');
        setField(field, text);
        EXPECT_TRUE(std::ranges::find(field, u'\0') != std::end(field)) << "not terminated";
        return std::u16string(field);
    };
    EXPECT_EQ(set(u""), u"");
    EXPECT_EQ(set(u"abc"), u"abc");
    EXPECT_EQ(set(u"abcde"), u"abcde");
    EXPECT_EQ(set(u"abcdef"), u"abcde");
    EXPECT_EQ(set(u"abcdefghij"), u"abcde");
}

TEST(SetField, NeverSplitsASurrogatePair) {
    char16_t field[6];
    const auto set = [&](std::u16string_view text) {
        setField(field, text);
        return std::u16string(field);
    };
    EXPECT_EQ(set(u"abc\U0001F600"), u"abc\U0001F600");
    EXPECT_EQ(set(u"abcd\U0001F600"), u"abcd");
    EXPECT_EQ(set(u"abcde\U0001F600"), u"abcde");
    EXPECT_EQ(set(u"\U0001F600\U0001F600\U0001F600"), u"\U0001F600\U0001F600");
    // A half without its other half is a unit like any other.
    const std::u16string lone{u'a', u'b', u'c', u'd', 0xd83d, u'e'};
    EXPECT_EQ(set(lone), lone.substr(0, 5));
}

TEST(SetField, AZeroUnitEndsTheText) {
    char16_t field[6] = u"#####";
    setField(field, std::u16string_view(u"ab\0cd", 5));
    EXPECT_EQ(std::u16string(field), u"ab");
}

TEST(SetField, TheSmallestFieldHoldsNothing) {
    char16_t field[1] = {u'#'};
    setField(field, u"abc");
    EXPECT_EQ(field[0], u'\0');
}

// --- PostToHost ---

TEST_F(HandshakeTest, PostingClearsThenPostsThenAsksUntilTaken) {
    host.asksBeforeTaken = 5;
    PostToHost(requestOf(RequestKind::Message, u"abc"));
    EXPECT_EQ(host.log, (Log{"Clear", "Post 3"}));
    EXPECT_EQ(host.asks, 6) << "five times not yet, then taken";
    EXPECT_EQ(host.shown, std::vector<std::u16string>{u"abc"});
}

TEST_F(HandshakeTest, EveryKindIsPostedAsItStands) {
    for (const RequestKind kind : {RequestKind::CommandInput, RequestKind::UserInput,
                                   RequestKind::EvalDone, RequestKind::Message}) {
        HostRequest request = requestOf(kind, u"message");
        request.mode = 4;
        request.x = 1.5;
        request.y = -2.5;
        request.hasBasePoint = true;
        request.context = 99;
        setField(request.inputText, u"input");
        PostToHost(request);
        const HostRequest& seen = host.posted.back();
        EXPECT_EQ(seen.kind, static_cast<int>(kind));
        EXPECT_EQ(seen.mode, 4);
        EXPECT_EQ(seen.x, 1.5);
        EXPECT_EQ(seen.y, -2.5);
        EXPECT_TRUE(seen.hasBasePoint);
        EXPECT_EQ(seen.context, 99);
        EXPECT_EQ(std::u16string(seen.inputText), u"input");
        EXPECT_EQ(std::u16string(seen.messageText), u"message");
    }
    EXPECT_EQ(host.posted.size(), 4u);
}

TEST_F(HandshakeTest, PostingDoesNotWaitForAReply) {
    PostToHost(requestOf(RequestKind::EvalDone, u"3"));
    PostToHost(requestOf(RequestKind::Message, u"x"));
    EXPECT_FALSE(handshake().waitingForReply);
    EXPECT_EQ(host.posted.size(), 2u);
}

TEST_F(HandshakeTest, DirectModeShowsMessagesAndDropsTheRest) {
    handshake().directMode = true;
    PostToHost(requestOf(RequestKind::CommandInput, u"zero"));
    PostToHost(requestOf(RequestKind::UserInput, u"one"));
    PostToHost(requestOf(RequestKind::EvalDone, u"two"));
    EXPECT_TRUE(host.log.empty());
    PostToHost(requestOf(RequestKind::Message, u"three"));
    EXPECT_EQ(host.log, Log{"DisplayMsg three"});
    EXPECT_TRUE(host.posted.empty());
}

// --- waiting and replying ---

TEST_F(HandshakeTest, ARequestWaitsForItsAnswer) {
    HostRequest answer;
    answer.mode = 1;
    answer.x = 12.5;
    answer.y = -3;
    host.answers = {answer};
    RequestAndWait(requestOf(RequestKind::UserInput, u"Point: "));
    EXPECT_EQ(host.log, (Log{"Clear", "Post 1"}));
    EXPECT_FALSE(handshake().waitingForReply);
    EXPECT_EQ(handshake().reply.mode, 1);
    EXPECT_EQ(handshake().reply.x, 12.5);
    EXPECT_EQ(handshake().reply.y, -3);
}

TEST_F(HandshakeTest, AwaitingReturnsAtOnceWhenNothingIsAwaited) {
    AwaitReply();
    EXPECT_FALSE(handshake().waitingForReply);
}

// A request in direct mode is not posted, and its reply is awaited all the same.
TEST_F(HandshakeTest, DirectModeStillWaitsForAReply) {
    handshake().directMode = true;
    std::atomic<bool> returned{false};
    std::thread asking([&] {
        RequestAndWait(requestOf(RequestKind::UserInput, u"Point: "));
        returned = true;
    });
    while (!handshake().waitingForReply) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(returned) << "it did not wait";
    HostRequest answer;
    answer.mode = 1;
    answer.x = 7;
    EXPECT_EQ(OnHostReply(answer), 1);
    asking.join();
    EXPECT_TRUE(returned);
    EXPECT_EQ(handshake().reply.x, 7);
    EXPECT_TRUE(host.log.empty()) << "it was posted";
}

TEST_F(HandshakeTest, AReplyIsCopiedFieldByField) {
    handshake().waitingForReply = true;
    HostRequest record;
    record.mode = 1;
    record.x = 1.25;
    record.y = 2.5;
    record.count = 3;
    record.context = 77;
    record.entityId = 99;
    setField(record.inputText, u"typed text");
    EXPECT_EQ(OnHostReply(record), 1);
    const HostReply& reply = handshake().reply;
    EXPECT_EQ(reply.mode, 1);
    EXPECT_EQ(reply.x, 1.25);
    EXPECT_EQ(reply.y, 2.5);
    EXPECT_EQ(reply.count, 3);
    EXPECT_EQ(reply.context, 77);
    EXPECT_EQ(reply.inputText, u"typed text");
    EXPECT_EQ(reply.entityId, 0) << "only a picked object has one";
    EXPECT_FALSE(handshake().waitingForReply);
}

TEST_F(HandshakeTest, AReplyGivesItsEntityOnlyWhenAnObjectWasPicked) {
    HostRequest record;
    record.mode = 4;
    record.count = 1;
    record.entityId = 5;
    OnHostReply(record);
    EXPECT_EQ(handshake().reply.entityId, 5);
    EXPECT_EQ(handshake().reply.count, 1);

    record.entityId = 6;
    for (const std::int32_t count : {0, -1}) {
        record.count = count;
        OnHostReply(record);
        EXPECT_EQ(handshake().reply.entityId, 5) << "count " << count;
        EXPECT_EQ(handshake().reply.count, count);
        EXPECT_EQ(handshake().reply.mode, 4);
    }
    record.count = 1;
    for (const std::int32_t mode : {0, 1, 2, 3, 5, -4}) {
        record.mode = mode;
        OnHostReply(record);
        EXPECT_EQ(handshake().reply.entityId, 5) << "mode " << mode;
        EXPECT_EQ(handshake().reply.mode, mode);
    }
    record.mode = 4;
    OnHostReply(record);
    EXPECT_EQ(handshake().reply.entityId, 6);
}

TEST_F(HandshakeTest, AReplysTextWithoutATerminatingZeroEndsWithItsField) {
    HostRequest record;
    std::fill(std::begin(record.inputText), std::end(record.inputText), u'x');
    std::fill(std::begin(record.messageText), std::end(record.messageText), u'y');
    OnHostReply(record);
    EXPECT_EQ(handshake().reply.inputText, std::u16string(299, u'x'));
    setField(record.inputText, u"short");
    OnHostReply(record);
    EXPECT_EQ(handshake().reply.inputText, u"short") << "nothing is left of the longer one";
    setField(record.inputText, u"");
    OnHostReply(record);
    EXPECT_EQ(handshake().reply.inputText, u"");
}

TEST_F(HandshakeTest, AReplyNobodyAwaitsIsTakenAllTheSame) {
    HostRequest record;
    record.mode = 0;
    setField(record.inputText, u"unasked");
    EXPECT_EQ(OnHostReply(record), 1);
    EXPECT_EQ(handshake().reply.inputText, u"unasked");
    EXPECT_FALSE(handshake().waitingForReply);
}

// A window whose messages are taken on another thread, as a real host's are. What the poster asks
// about afterwards is only touched by the poster's own thread, so the bridge of the recording host
// serves as it is.
class QueueWindow final : public platform::MessageWindow {
  public:
    struct Message {
        unsigned number;
        const HostRequest* address;
        HostRequest record;  // as it was when it was taken
    };

    void warn(const char16_t*) override {}
    bool chooseFile(const platform::FileDialog&, char16_t*, std::size_t) override { return false; }
    void post(unsigned message, const void* record) override {
        std::unique_lock lock(mutex_);
        waiting_ = Waiting{message, static_cast<const HostRequest*>(record)};
        changed_.notify_all();
        changed_.wait(lock, [&] { return waiting_.record == nullptr; });
        RecordingHost::current().taken = true;
        RecordingHost::current().asks = 0;
    }

    Message take() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return waiting_.record != nullptr; });
        const Message taken{waiting_.message, waiting_.record, *waiting_.record};
        waiting_ = {};
        changed_.notify_all();
        return taken;
    }

  private:
    struct Waiting {
        unsigned message = 0;
        const HostRequest* record = nullptr;
    };
    std::mutex mutex_;
    std::condition_variable changed_;
    Waiting waiting_;
};

// The user-interface thread takes, one by one, what a thread that evaluates sends, and answers
// what wants an answer; each sees what the other wrote before.
TEST_F(HandshakeTest, TwoThreadsMeetOverEveryMessage) {
    constexpr std::int32_t rounds = 2000;
    const auto repeated = [](char16_t unit, std::int32_t count) {
        return std::u16string(static_cast<std::size_t>(count), unit);
    };
    QueueWindow window;
    handshake().mainWindow = &window;
    host.asksBeforeTaken = 3;
    std::thread evaluating([&] {
        for (std::int32_t i = 0; i < rounds; ++i) {
            PostToHost(requestOf(RequestKind::Message, repeated(u'm', i % 5)));
            HostRequest& request = handshake().userInput;
            setField(request.messageText, repeated(u'p', i % 7));
            request.mode = i;
            request.kind = static_cast<std::int32_t>(RequestKind::UserInput);
            RequestAndWait(request);
            EXPECT_EQ(handshake().reply.mode, i);
            EXPECT_EQ(handshake().reply.x, i * 0.5);
            EXPECT_EQ(handshake().reply.inputText, repeated(u'a', i % 11));
        }
        PostToHost(requestOf(RequestKind::EvalDone, u"the end"));
    });
    for (std::int32_t i = 0; i < rounds; ++i) {
        const QueueWindow::Message message = window.take();
        EXPECT_EQ(message.number, hostRequestMessage);
        EXPECT_EQ(message.record.kind, 3);
        EXPECT_EQ(std::u16string(message.record.messageText), repeated(u'm', i % 5));

        const QueueWindow::Message request = window.take();
        EXPECT_EQ(request.number, hostRequestMessage);
        EXPECT_EQ(request.address, &handshake().userInput) << "a record travels by its address";
        EXPECT_EQ(request.record.kind, 1);
        EXPECT_EQ(request.record.mode, i);
        EXPECT_EQ(std::u16string(request.record.messageText), repeated(u'p', i % 7));
        EXPECT_TRUE(handshake().waitingForReply);
        HostRequest answer;
        answer.mode = i;
        answer.x = i * 0.5;
        setField(answer.inputText, repeated(u'a', i % 11));
        EXPECT_EQ(OnHostReply(answer), 1);
    }
    const QueueWindow::Message end = window.take();
    EXPECT_EQ(end.record.kind, 2);
    EXPECT_EQ(std::u16string(end.record.messageText), u"the end");
    evaluating.join();
    EXPECT_FALSE(handshake().waitingForReply);
    EXPECT_EQ(host.log, Log(2 * rounds + 1, "Clear"));
}

// What request number `i` of a run holds, and its answer. The number is in both, so that nothing
// can be taken for another's.
HostRequest numbered(std::int32_t i, RequestKind kind) {
    const std::size_t length = static_cast<std::size_t>(i * 31 % 3000);
    HostRequest request =
        requestOf(kind, std::u16string(length, static_cast<char16_t>(u'a' + i % 26)));
    setField(request.inputText, std::u16string(length % 300, static_cast<char16_t>(u'A' + i % 26)));
    request.mode = i;
    request.x = i * 0.5;
    request.y = -i * 0.25;
    request.hasBasePoint = i % 2 == 0;
    request.context = i + 1;
    return request;
}

HostRequest answerTo(std::int32_t i) {
    HostRequest answer;
    answer.mode = 4;
    answer.x = i * 2.0;
    answer.y = i * 3.0;
    answer.entityId = i + 2;
    answer.count = i % 7;
    answer.context = i + 3;
    setField(answer.inputText, std::u16string(static_cast<std::size_t>(i % 300),
                                              static_cast<char16_t>(u'0' + i % 10)));
    return answer;
}

// The thread that evaluates: sends the whole run and looks at every answer.
void sendAll(const std::vector<RequestKind>& run) {
    std::int32_t entityId = 0;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(run.size()); ++i) {
        const RequestKind kind = run[static_cast<std::size_t>(i)];
        HostRequest onStack;
        HostRequest& request = kind == RequestKind::CommandInput ? handshake().commandInput
                               : kind == RequestKind::UserInput  ? handshake().userInput
                               : kind == RequestKind::EvalDone   ? handshake().evalDone
                                                                 : onStack;
        request = numbered(i, kind);
        if (kind == RequestKind::EvalDone || kind == RequestKind::Message) {
            PostToHost(request);
            continue;
        }
        RequestAndWait(request);
        const HostRequest expected = answerTo(i);
        const HostReply& reply = handshake().reply;
        if (expected.count > 0) entityId = expected.entityId;
        EXPECT_EQ(reply.mode, 4);
        EXPECT_EQ(reply.x, expected.x);
        EXPECT_EQ(reply.y, expected.y);
        EXPECT_EQ(reply.count, expected.count);
        EXPECT_EQ(reply.context, expected.context);
        EXPECT_EQ(reply.entityId, entityId);
        EXPECT_EQ(reply.inputText, expected.inputText);
    }
}

TEST_F(HandshakeTest, TenThousandRequestsInAnyOrderKeepTheirAnswers) {
    constexpr std::size_t requests = 10'000;
    const unsigned seed = test::printedSeed();
    std::mt19937 random(seed);
    std::vector<RequestKind> run(requests);
    for (RequestKind& kind : run) kind = static_cast<RequestKind>(random() % 4);

    QueueWindow window;
    handshake().mainWindow = &window;
    host.asksBeforeTaken = 2;
    std::thread evaluating([&] { sendAll(run); });
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(requests); ++i) {
        const QueueWindow::Message message = window.take();
        const HostRequest expected = numbered(i, run[static_cast<std::size_t>(i)]);
        EXPECT_EQ(message.number, hostRequestMessage);
        EXPECT_EQ(std::memcmp(&message.record, &expected, sizeof expected), 0)
            << "request " << i << " of seed " << seed;
        const bool isAnswered = message.record.kind == 0 || message.record.kind == 1;
        if (!isAnswered) continue;
        EXPECT_TRUE(handshake().waitingForReply);
        const HostRequest answer = answerTo(i);
        EXPECT_EQ(OnHostReply(answer), 1);
    }
    evaluating.join();
    EXPECT_FALSE(handshake().waitingForReply);
    EXPECT_EQ(host.log, Log(requests, "Clear"));
}

}  // namespace
}  // namespace vlisp
