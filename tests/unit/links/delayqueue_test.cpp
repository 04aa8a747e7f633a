#include "links/delayqueue.h"

#include <gtest/gtest.h>

#include "model/arena.h"
#include "support/model.h"

struct DelayQueues : testing::Test {
    DelayQueue queue{};
    void TearDown() override { arena_release(testModel().memory.run); }
    void push(double date, double value) { EXPECT_EQ(delayqueue_push(testModel(), queue, date, value), 1); }
    int64_t getLength() const { return queue.end - queue.first; }
};

TEST_F(DelayQueues, AreEmptyAtFirst) {
    EXPECT_EQ(delayqueue_getValue(queue, 1.0), 0.0);
}

TEST_F(DelayQueues, DeliverNothingBeforeTheFirstEntry) {
    push(10.0, 5.0);
    EXPECT_EQ(delayqueue_getValue(queue, 9.0), 0.0);
    EXPECT_EQ(delayqueue_getValue(queue, 10.0), 5.0);
}

TEST_F(DelayQueues, InterpolateBetweenEntries) {
    push(10.0, 5.0);
    push(12.0, 9.0);
    EXPECT_EQ(delayqueue_getValue(queue, 10.5), 6.0);
    EXPECT_EQ(delayqueue_getValue(queue, 12.0), 9.0);
}

TEST_F(DelayQueues, DeliverNothingBehindTheLastEntryAndKeepIt) {
    push(10.0, 5.0);
    EXPECT_EQ(delayqueue_getValue(queue, 11.0), 0.0);
    EXPECT_EQ(getLength(), 1);
    push(12.0, 9.0);
    EXPECT_EQ(delayqueue_getValue(queue, 11.0), 7.0);
}

TEST_F(DelayQueues, KeepTheEntryJustBeforeTheDate) {
    for (int k = 0; k < 10; ++k) {
        push(k, 2.0 * k);
    }
    EXPECT_EQ(delayqueue_getValue(queue, 6.5), 13.0);
    EXPECT_EQ(getLength(), 4);  // 6, 7, 8, 9
    EXPECT_EQ(delayqueue_getValue(queue, 6.25), 12.5);
    EXPECT_EQ(delayqueue_getValue(queue, 5.0), 0.0);  // gone by now
}

TEST_F(DelayQueues, WalkOverTwoEntriesAtOneDate) {
    push(10.0, 5.0);
    push(12.0, 4.0);
    push(12.0, 8.0);
    push(14.0, 6.0);
    EXPECT_EQ(delayqueue_getValue(queue, 12.0), 4.0);  // the walk stops at the first of the two
    EXPECT_EQ(delayqueue_getValue(queue, 13.0), 7.0);  // and then goes on from the second
}

TEST_F(DelayQueues, TakeTheMeanOfEntriesCloserThanAnyClockTells) {
    push(0.0, 4.0);
    push(5e-21, 8.0);
    EXPECT_EQ(delayqueue_getValue(queue, 2e-21), (4.0 + 8.0) / 2.0);  // on the line between them it would be 5.6
}

TEST_F(DelayQueues, ReadTheFirstOfTwoEntriesAtTheHeadsDate) {
    push(10.0, 5.0);
    push(10.0, 7.0);
    EXPECT_EQ(delayqueue_getValue(queue, 10.0), 5.0);
    EXPECT_EQ(delayqueue_getValue(queue, 10.5), 0.0);
    EXPECT_EQ(delayqueue_getValue(queue, 10.5), 0.0);
}

TEST_F(DelayQueues, SurviveDatesOutOfOrder) {
    for (const double date : {10.0, 5.0, 12.0, 3.0, 20.0}) {
        push(date, date);
    }
    EXPECT_EQ(delayqueue_getValue(queue, 11.0), 5.0 + 7.0 * 6.0 / 7.0);
    EXPECT_EQ(delayqueue_getValue(queue, 15.0), 3.0 + 17.0 * 12.0 / 17.0);
    EXPECT_EQ(delayqueue_getValue(queue, 30.0), 0.0);
}

TEST_F(DelayQueues, HoldAnyNumberOfEntries) {
    for (int k = 0; k < 10000; ++k) {
        push(k, k);
        if (k >= 500) {
            ASSERT_EQ(delayqueue_getValue(queue, k - 499.5), k - 499.5);
        }
    }
    EXPECT_LE(queue.capacity, 1024);
}

TEST_F(DelayQueues, LoseAValueWithoutMemory) {
    arena_failAfter(1);
    EXPECT_EQ(delayqueue_push(testModel(), queue, 1.0, 1.0), 0);
    EXPECT_EQ(delayqueue_getValue(queue, 1.0), 0.0);
    push(2.0, 3.0);
    EXPECT_EQ(delayqueue_getValue(queue, 2.0), 3.0);
}
