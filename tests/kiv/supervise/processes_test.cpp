// Signals of a run, and the processes around it.
#include "kiv/supervise/processes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "kiv/journal/ring.h"
#include "tests/kiv/process.h"

namespace {

void handler_of_the_program(int) {}

class RunSignalsTest : public testing::Test {
  protected:
    RunSignalsTest() {
        std::string error;
        if (!ring_.create(&error)) ADD_FAILURE() << error;
    }
    static auto action_of(int signal) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        return action.sa_handler;
    }
    kiv::Ring ring_;
};

TEST_F(RunSignalsTest, InterruptionsAreCountedAndTheLastIsKnown) {
    kiv::RunSignals signals(ring_);
    EXPECT_EQ(signals.interruptions(), 0);
    raise(SIGINT);
    raise(SIGTERM);
    EXPECT_EQ(signals.interruptions(), 2);
    EXPECT_EQ(signals.last_interruption(), SIGTERM);
    raise(SIGHUP);
    raise(SIGQUIT);
    EXPECT_EQ(signals.interruptions(), 4);
    EXPECT_EQ(signals.last_interruption(), SIGQUIT);
}

TEST_F(RunSignalsTest, EachRunCountsFromTheBegin) {
    {
        kiv::RunSignals signals(ring_);
        raise(SIGINT);
        raise(SIGCHLD);
        raise(SIGCONT);
    }
    kiv::RunSignals signals(ring_);
    EXPECT_EQ(signals.interruptions(), 0);
    EXPECT_FALSE(signals.take_child_event());
    EXPECT_FALSE(signals.take_continued());
}

TEST_F(RunSignalsTest, EventsAreTakenOnce) {
    kiv::RunSignals signals(ring_);
    raise(SIGCHLD);
    EXPECT_TRUE(signals.take_child_event());
    EXPECT_FALSE(signals.take_child_event());
    EXPECT_FALSE(signals.take_continued());
    raise(SIGCONT);
    EXPECT_TRUE(signals.take_continued());
    EXPECT_FALSE(signals.take_continued());
    EXPECT_EQ(signals.interruptions(), 0);
}

TEST_F(RunSignalsTest, SignalEndsAWaitOnTheRing) {
    kiv::RunSignals signals(ring_);
    const pid_t self = getpid(), sender = fork();
    if (sender == 0) {
        usleep(20'000);
        kill(self, SIGTERM);
        _exit(0);
    }
    ring_.wait_readable(60'000'000'000);
    EXPECT_EQ(signals.interruptions(), 1);
    waitpid(sender, nullptr, 0);
}

TEST_F(RunSignalsTest, WhatWasIgnoredStaysIgnoredAndAllIsAsBeforeAfterwards) {
    signal(SIGINT, SIG_IGN);
    signal(SIGTERM, SIG_IGN);
    signal(SIGHUP, handler_of_the_program);
    {
        kiv::RunSignals signals(ring_);
        raise(SIGINT);
        EXPECT_EQ(signals.interruptions(), 0);
        raise(SIGTERM);  // who starts a run in the background may still end it
        EXPECT_EQ(signals.interruptions(), 1);
        signals.restore();
        EXPECT_EQ(action_of(SIGHUP), handler_of_the_program);
    }
    EXPECT_EQ(action_of(SIGINT), SIG_IGN);
    EXPECT_EQ(action_of(SIGTERM), SIG_IGN);
    EXPECT_EQ(action_of(SIGHUP), handler_of_the_program);
    kiv_test::default_signals();
    signal(SIGTERM, SIG_DFL);
}

TEST_F(RunSignalsTest, WritesFailWhileThatIsWantedAndNotInAWorker) {
    {
        const kiv::WritesFail writes_fail;
        EXPECT_EQ(action_of(SIGPIPE), SIG_IGN);
        EXPECT_EQ(action_of(SIGXFSZ), SIG_IGN);
        kiv::WritesFail::resign();
        EXPECT_EQ(action_of(SIGPIPE), SIG_DFL);
        EXPECT_EQ(action_of(SIGXFSZ), SIG_DFL);
    }
    EXPECT_EQ(action_of(SIGPIPE), SIG_DFL);
    EXPECT_EQ(action_of(SIGXFSZ), SIG_DFL);
}

TEST_F(RunSignalsTest, NothingIsDeliveredWhileBlocked) {
    kiv::RunSignals signals(ring_);
    signals.block();
    raise(SIGINT);
    EXPECT_EQ(signals.interruptions(), 0);
    signals.unblock();
    EXPECT_EQ(signals.interruptions(), 1);
}

TEST(SubreaperTest, LeavesTheProcessAsItWas) {
    const auto is_one = [] {
        int value = -1;
        prctl(PR_GET_CHILD_SUBREAPER, &value);
        return value;
    };
    for (const int before : {0, 1}) {
        prctl(PR_SET_CHILD_SUBREAPER, before);
        {
            const kiv::Subreaper subreaper;
            EXPECT_EQ(is_one(), 1);
        }
        EXPECT_EQ(is_one(), before);
    }
    kiv::Subreaper::resign();
    EXPECT_EQ(is_one(), 0);
}

pid_t waiting_child() {
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child != 0) return child;
    while (true) pause();
}

TEST(ChildrenTest, AreEndedExceptThoseThatAreSpared) {
    EXPECT_THAT(kiv::children(), testing::IsEmpty());
    const pid_t spared = waiting_child();
    EXPECT_THAT(kiv::children(), testing::ElementsAre(spared));
    waiting_child();
    waiting_child();
    const pid_t over = fork();
    if (over == 0) _exit(0);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(over), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(kiv::end_children_except({spared}), 2);  // the third was over by itself
    EXPECT_THAT(kiv::children(), testing::ElementsAre(spared));
    kill(spared, SIGKILL);
    waitpid(spared, nullptr, 0);
    EXPECT_EQ(kiv::end_children_except({}), 0);
}

}  // namespace
