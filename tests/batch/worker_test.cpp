// worker_test.cpp - processes that answer, exit and crash, their channels, and lists of texts as messages.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/worker/channel.h"
#include "host/worker/process.h"
#include "host/worker/texts.h"
#include "tests/batch/roles.h"

namespace {

using worker::Process;

TEST(WorkerTest, AnswersMessagesOfAnyLength) {
    Process process({.role = "echo"});
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{20} << 20}) {
        const std::string message(length, '\0');
        ASSERT_TRUE(process.GetChannel().Send(message));
        EXPECT_TRUE(process.GetChannel().Receive() == message) << length;
    }
}

TEST(ChannelTest, SendsAShortMessageInOneCall) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);  // keeps apart what each call sends
    worker::Channel sender(ends[0]), receiver(ends[1]);
    ASSERT_TRUE(sender.Send("hello"));
    char bytes[64];
    EXPECT_EQ(recv(receiver.Descriptor(), bytes, sizeof bytes, MSG_DONTWAIT), 8 + 5);
}

TEST(WorkerTest, ItsEndIsTheEndOfTheChannelAndSaysWhy) {
    Process killed({.role = "echo"});
    kill(killed.Id(), SIGKILL);
    EXPECT_EQ(killed.GetChannel().Receive(), std::nullopt);
    EXPECT_EQ(killed.Wait().signal, SIGKILL);
    EXPECT_EQ(killed.Wait().Text(), "its process was terminated: Killed");
    Process left({.role = "echo"});
    left.GetChannel().Close();
    EXPECT_EQ(left.Wait().Text(), "its process ended with status 7");
}

TEST(WorkerTest, StartsInAProcessWithThreads) {
    std::vector<std::thread> threads;
    std::vector<std::string> answers(4);
    for (std::string& answer : answers) {
        threads.emplace_back([&answer] {
            Process process({.role = "echo"});
            if (process.GetChannel().Send("hello")) answer = process.GetChannel().Receive().value_or("");
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(answers, std::vector<std::string>(4, "hello"));
}

TEST(WorkerTest, SignalsThatStopAProgramAreItsStartersBusiness) {
    Process process({.role = "echo"});
    kill(process.Id(), SIGINT);
    kill(process.Id(), SIGTERM);
    ASSERT_TRUE(process.GetChannel().Send("still here"));
    EXPECT_EQ(process.GetChannel().Receive(), "still here");
}

TEST(WorkerTest, AnUnknownRoleEndsIt) {
    Process process({.role = "no such role"});
    EXPECT_EQ(process.GetChannel().Receive(), std::nullopt);
    EXPECT_EQ(process.Wait().signal, SIGABRT);  // main lets the exception end the test's process
}

TEST(TextsTest, AreReadAsTheyWereWritten) {
    const std::vector<std::string> texts = {"", "a", std::string("\0:1", 3), std::string(1000, 'x')};
    EXPECT_EQ(worker::Unpack(worker::Pack(texts)), texts);
    EXPECT_EQ(worker::Unpack(""), std::vector<std::string>());
    for (const char* wrong : {"1", "2:a", "x:a", "1:ab", "-1:a", ":"}) {
        EXPECT_EQ(worker::Unpack(wrong), std::nullopt) << wrong;
    }
}

}  // namespace

worker::Role EchoRole() {
    return {"echo", [](worker::Channel& channel) {
                while (const std::optional<std::string> message = channel.Receive()) {
                    if (!channel.Send(*message)) break;
                }
                return 7;
            }};
}
