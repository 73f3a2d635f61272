#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <shared/comms/CByteFifo.h>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Sizes that are and are not powers of two: the ring holds size - 1 bytes whatever its cells.
TEST(ByteFifo, HoldsOneByteLessThanItsSizeAndWrapsInOrder)
{
    for (unsigned long size : {0UL, 4UL, 5UL, 16UL, 1000UL})
    {
        CByteFifo fifo(size);
        unsigned long const holds = fifo.GetSize() - 1;
        std::vector<unsigned char> in(holds + 2);
        for (std::size_t i = 0; i < in.size(); ++i)
        {
            in[i] = static_cast<unsigned char>(i * 7 + size);
        }
        EXPECT_EQ(fifo.PutBytes(in.data(), static_cast<unsigned long>(in.size())), holds);
        EXPECT_FALSE(fifo.PutByte(0)) << size;
        EXPECT_EQ(fifo.GetBytesReady(), holds);
        std::vector<unsigned char> out(in.size());
        EXPECT_EQ(fifo.GetBytes(out.data(), static_cast<unsigned long>(out.size()), 0), holds);
        EXPECT_TRUE(std::equal(in.begin(), in.begin() + static_cast<long>(holds), out.begin()));

        // Blocks of three and single bytes across many turns of the ring.
        for (int turn = 0; turn < 3000; ++turn)
        {
            unsigned long const n = std::min(3UL, holds);
            ASSERT_EQ(fifo.PutBytes(in.data() + turn % 2, n), n);
            unsigned char b = 0;
            ASSERT_TRUE(fifo.GetByte(b, 0));
            ASSERT_EQ(b, in[static_cast<std::size_t>(turn % 2)]);
            ASSERT_EQ(fifo.GetBytes(out.data(), n, 0), n - 1);
            ASSERT_TRUE(std::equal(out.begin(), out.begin() + static_cast<long>(n - 1),
                                   in.begin() + turn % 2 + 1));
        }
        fifo.PutByte(1);
        fifo.Empty();
        EXPECT_EQ(fifo.GetBytesReady(), 0u);
        fifo.PutByte(42);
        unsigned char b = 0;
        ASSERT_TRUE(fifo.GetByte(b, 0));
        EXPECT_EQ(b, 42);
    }
}

TEST(ByteFifo, UngetPushesBackAtTheFront)
{
    auto drain = [](CByteFifo& fifo)
    {
        std::vector<int> out;
        for (unsigned char b = 0; fifo.GetByte(b, 0);)
        {
            out.push_back(b);
        }
        return out;
    };
    CByteFifo fifo(4);
    fifo.PutBytes("\1\2", 2);
    unsigned char b = 0;
    ASSERT_TRUE(fifo.GetByte(b, 0));
    EXPECT_TRUE(fifo.UngetByte(b));
    EXPECT_TRUE(fifo.UngetByte(0));
    // Pushed back one after another: they come out in the reverse order of pushing.
    EXPECT_EQ(drain(fifo), (std::vector<int>{0, 1, 2}));

    // Full: the newest byte is dropped to make room, the count stays the same.
    fifo.PutBytes("\12\13\14", 3);
    EXPECT_FALSE(fifo.UngetByte(9));
    EXPECT_EQ(fifo.GetBytesReady(), 3u);
    EXPECT_EQ(drain(fifo), (std::vector<int>{9, 10, 11}));
}

TEST(ByteFifo, TimedWaitsEndOnDataOrTimeout)
{
    CByteFifo fifo(64);
    unsigned char b = 0;
    auto start = Clock::now();
    EXPECT_FALSE(fifo.GetByte(b, 60));
    EXPECT_GE(Clock::now() - start, 55ms);

    // A put and an unget each wake a waiter; Infinite waits for ever.
    std::thread producer(
        [&]
        {
            std::this_thread::sleep_for(20ms);
            fifo.PutByte(0x5A);
            while (fifo.GetBytesReady() != 0)
            {
                std::this_thread::yield();
            }
            std::this_thread::sleep_for(20ms);
            fifo.UngetByte(0x33);
        });
    start = Clock::now();
    ASSERT_TRUE(fifo.GetByte(b, 10000));
    EXPECT_LT(Clock::now() - start, 5s) << "woken by the byte, not by the timeout";
    EXPECT_EQ(b, 0x5A);
    ASSERT_TRUE(fifo.GetByte(b, CByteFifo::Infinite));
    EXPECT_EQ(b, 0x33);
    producer.join();
}

TEST(ByteFifo, StreamsBetweenThreadsInOrder)
{
    // A small ring forces the producer to retry when full and the consumer to wait when empty.
    CByteFifo fifo(64);
    constexpr std::uint32_t total = 1u << 18;
    std::thread producer(
        [&]
        {
            for (std::uint32_t i = 0; i < total;)
            {
                if (fifo.PutByte(static_cast<unsigned char>(i ^ (i >> 8))))
                {
                    ++i;
                }
                else
                {
                    std::this_thread::yield();
                }
            }
        });
    std::uint32_t mismatches = 0;
    for (std::uint32_t i = 0; i < total; ++i)
    {
        unsigned char b = 0;
        ASSERT_TRUE(fifo.GetByte(b, 5000)) << "byte " << i << " never came";
        mismatches += b != static_cast<unsigned char>(i ^ (i >> 8));
    }
    producer.join();
    EXPECT_EQ(mismatches, 0u);
}

TEST(ByteFifo, SeveralConsumersShareTheBytesExactlyOnce)
{
    CByteFifo fifo(32);
    constexpr int total = 20000;
    std::atomic<int> taken{0};
    std::vector<std::atomic<int>> seen(256);
    std::vector<std::thread> consumers;
    for (int c = 0; c < 3; ++c)
    {
        consumers.emplace_back(
            [&]
            {
                unsigned char b = 0;
                while (fifo.GetByte(b, 300))
                {
                    ++seen[b];
                    ++taken;
                }
            });
    }
    for (int i = 0; i < total;)
    {
        if (fifo.PutByte(static_cast<unsigned char>(i)))
        {
            ++i;
        }
        else
        {
            std::this_thread::yield();
        }
    }
    for (auto& t : consumers)
    {
        t.join();
    }
    EXPECT_EQ(taken.load(), total);
    for (int v = 0; v < 256; ++v)
    {
        EXPECT_EQ(seen[static_cast<std::size_t>(v)].load(), total / 256 + (v < total % 256 ? 1 : 0))
            << v;
    }
}

TEST(ByteFifo, PushBacksWhileTheProducerStreamsLoseAndCorruptNothing)
{
    // The producer works from the position of the consumers it last read; a push-back moves
    // that position back, and must make it look again rather than fill the pushed-back cell.
    CByteFifo fifo(64);
    constexpr std::uint32_t total = 1u << 17;
    std::atomic<bool> stop{false};
    std::thread producer(
        [&]
        {
            for (std::uint32_t i = 0; i < total && !stop;)
            {
                if (fifo.PutByte(static_cast<unsigned char>(i * 7)))
                    ++i;
                else
                    std::this_thread::yield();
            }
        });
    std::uint32_t mismatches = 0;
    for (std::uint32_t i = 0; i < total; ++i)
    {
        unsigned char b = 0;
        ASSERT_TRUE(fifo.GetByte(b, 5000)) << "byte " << i << " never came";
        mismatches += b != static_cast<unsigned char>(i * 7);
        // Away from full only: into a full FIFO a push-back drops the newest byte by design.
        if (i % 3 == 0 && fifo.GetBytesReady() < 16)
        {
            if (!fifo.UngetByte(b))
                break; // the producer filled the ring meanwhile; the order is no longer known
            unsigned char again = 0;
            ASSERT_TRUE(fifo.GetByte(again, 5000));
            mismatches += again != b;
        }
    }
    stop = true;
    producer.join();
    EXPECT_EQ(mismatches, 0u);
}
