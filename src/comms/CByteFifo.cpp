#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <shared/comms/CByteFifo.h>
#include <thread>
#include <vector>

// Positions are 64-bit byte counts that never wrap in practice; a cell is a position masked to
// the buffer, which is the ring's size rounded up to a power of two. The held bytes are the
// positions [tail, head), at most size - 1 of them, as in the ring this class describes; the
// spare cells only make masking possible, they never hold more.
//
// head belongs to the producer, which advances it with a compare-and-swap after filling the
// cells; the one other writer is a push-back into a full FIFO, which takes the newest byte back
// (head - 1) and makes the producer's swap fail and look again. tail belongs to the consumers,
// who take turns through a spin lock that is never held across a wait.
struct CByteFifo::State
{
    explicit State(unsigned long requested)
        : size(Checked(requested)), capacity(size - 1),
          cells(std::bit_ceil(static_cast<std::size_t>(size))), mask(cells.size() - 1)
    {
    }

    // A ring beyond a gigabyte is a wrong argument rather than a wish; refusing it keeps the
    // rounding up to a power of two from overflowing where unsigned long is 32 bits.
    static unsigned long Checked(unsigned long requested)
    {
        if (requested > kLargest)
        {
            throw std::bad_alloc();
        }
        return requested < 2 ? 2 : requested;
    }
    static constexpr unsigned long kLargest = 1UL << 30;

    unsigned char& Cell(std::uint64_t position) { return cells[position & mask]; }

    void LockConsumers()
    {
        while (consumerLock.exchange(true, std::memory_order_acquire))
        {
            while (consumerLock.load(std::memory_order_relaxed))
            {
                std::this_thread::yield();
            }
        }
    }
    void UnlockConsumers() { consumerLock.store(false, std::memory_order_release); }

    // Called after head or tail moved. The swap or store before it and the waiter count are
    // both sequentially consistent, so a consumer about to sleep either sees the new bytes or
    // is seen here.
    void Wake()
    {
        // One wake-up per sleep is enough: while a woken consumer is still on its way, further
        // puts would only repeat the system call.
        if (waiters.load() != 0 && !wakeSent.exchange(true))
        {
            {
                std::lock_guard guard(sleepLock);
            }
            arrived.notify_all();
        }
    }

    // Takes up to count bytes; consumer lock held.
    unsigned long TakeLocked(unsigned char* out, unsigned long count)
    {
        std::uint64_t const t = tail.load(std::memory_order_relaxed);
        // The producer's head is read again only when what was seen of it is used up: a byte
        // at a time, re-reading it for every byte would pull its cache line over each time.
        if (seenHead - t < count)
            seenHead = head.load(std::memory_order_acquire);
        std::uint64_t const ready = seenHead - t;
        auto const n = static_cast<unsigned long>(std::min<std::uint64_t>(ready, count));
        if (n == 1)
        {
            *out = Cell(t);
        }
        else if (n != 0)
        {
            std::size_t const first = std::min<std::size_t>(n, cells.size() - (t & mask));
            std::memcpy(out, &Cell(t), first);
            std::memcpy(out + first, cells.data(), n - first);
        }
        // Only after the copy: from here on the producer may refill those cells.
        tail.store(t + n, std::memory_order_release);
        return n;
    }

    // Sleeps until bytes are there or the time is up; true when there are bytes.
    bool WaitForBytes(unsigned long timeoutMs)
    {
        // A producer that is running right now usually delivers within a microsecond or so;
        // looking a little while first spares both sides the sleep and the wake-up call.
        for (int spin = 0; spin < 2000; ++spin)
        {
            if (head.load(std::memory_order_relaxed) != tail.load(std::memory_order_relaxed))
            {
                return true;
            }
        }
        std::unique_lock guard(sleepLock);
        waiters.fetch_add(1);
        // Checked before every sleep, so each sleep asks for a wake-up of its own, even one
        // that follows a wake-up whose bytes another consumer took.
        auto const ready = [this]
        {
            wakeSent.store(false);
            return head.load() != tail.load();
        };
        bool got = true;
        if (timeoutMs == Infinite)
        {
            arrived.wait(guard, ready);
        }
        else
        {
            got = arrived.wait_for(guard, std::chrono::milliseconds(timeoutMs), ready);
        }
        waiters.fetch_sub(1);
        return got;
    }

    unsigned long const size;
    std::uint64_t const capacity;
    std::vector<unsigned char> cells;
    std::size_t const mask;
    alignas(64) std::atomic<std::uint64_t> head{0};
    alignas(64) std::atomic<std::uint64_t> tail{0};
    alignas(64) std::atomic<bool> consumerLock{false};
    // The head as the consumers last read it; consumer lock held. Never ahead of head: the one
    // step that moves head back (a push-back into a full FIFO) holds the lock and pulls it back.
    std::uint64_t seenHead = 0;
    // The tail as the producer last read it, and the push-back count it was read after; the
    // producer's own.
    alignas(64) std::uint64_t producerTail = 0;
    std::uint64_t producerUngets = 0;
    // Push-backs so far: they move tail back, which a producer's older reading must not miss.
    alignas(64) std::atomic<std::uint64_t> ungets{0};
    // Read by the producer on every put; kept off the consumers' lock line, which every take
    // writes.
    alignas(64) std::atomic<int> waiters{0};
    std::atomic<bool> wakeSent{false};
    std::mutex sleepLock;
    std::condition_variable arrived;
};

CByteFifo::CByteFifo(unsigned long size) : m_pState(std::make_shared<State>(size)) {}

CByteFifo::~CByteFifo() = default;

void CByteFifo::Empty()
{
    State& s = *m_pState;
    s.LockConsumers();
    s.seenHead = s.head.load();
    s.tail.store(s.seenHead);
    s.UnlockConsumers();
}

bool CByteFifo::PutByte(unsigned char byte)
{
    return PutBytes(&byte, 1) == 1;
}

unsigned long CByteFifo::PutBytes(void const* bytes, unsigned long count)
{
    State& s = *m_pState;
    auto const* in = static_cast<unsigned char const*>(bytes);
    for (;;)
    {
        std::uint64_t h = s.head.load(std::memory_order_relaxed);
        // The consumers' tail is read again only when the last reading leaves too little room,
        // or a push-back may have moved it back since (the count is taken first, so a tail
        // read after it is never older than a push-back the count does not show).
        std::uint64_t const ungets = s.ungets.load(std::memory_order_acquire);
        if (ungets != s.producerUngets || h - s.producerTail + count > s.capacity)
        {
            s.producerUngets = ungets;
            s.producerTail = s.tail.load(std::memory_order_acquire);
        }
        std::uint64_t const held = h - s.producerTail;
        std::uint64_t const room = held >= s.capacity ? 0 : s.capacity - held;
        auto const n = static_cast<unsigned long>(std::min<std::uint64_t>(room, count));
        if (n == 0)
        {
            return 0;
        }
        if (n == 1)
        {
            s.Cell(h) = *in;
        }
        else
        {
            std::size_t const first = std::min<std::size_t>(n, s.cells.size() - (h & s.mask));
            std::memcpy(&s.Cell(h), in, first);
            std::memcpy(s.cells.data(), in + first, n - first);
        }
        if (s.head.compare_exchange_strong(h, h + n))
        {
            s.Wake();
            return n;
        }
        // A push-back into the full FIFO took the newest byte back meanwhile: look again.
    }
}

bool CByteFifo::GetByte(unsigned char& byte, unsigned long timeoutMs)
{
    return GetBytes(&byte, 1, timeoutMs) == 1;
}

unsigned long CByteFifo::GetBytes(void* bytes, unsigned long count, unsigned long timeoutMs)
{
    State& s = *m_pState;
    auto* out = static_cast<unsigned char*>(bytes);
    if (count == 0)
    {
        return 0;
    }
    using Clock = std::chrono::steady_clock;
    Clock::time_point deadline{}; // read only once a wait is needed: bytes usually are there
    for (;;)
    {
        s.LockConsumers();
        unsigned long const n = s.TakeLocked(out, count);
        s.UnlockConsumers();
        if (n != 0 || timeoutMs == 0)
        {
            return n;
        }
        if (deadline == Clock::time_point{})
        {
            deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        }
        // Several consumers may wait; one that lost the bytes to another waits on for the rest
        // of its time.
        unsigned long left = Infinite;
        if (timeoutMs != Infinite)
        {
            auto const ms =
                std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (ms <= 0)
            {
                return 0;
            }
            left = static_cast<unsigned long>(ms);
        }
        if (!s.WaitForBytes(left))
        {
            return 0;
        }
    }
}

bool CByteFifo::UngetByte(unsigned char byte)
{
    State& s = *m_pState;
    s.LockConsumers();
    s.ungets.fetch_add(1);
    // The cell before tail is never one the producer may be filling: it stops a whole ring
    // short of it.
    std::uint64_t const t = s.tail.load(std::memory_order_relaxed) - 1;
    s.Cell(t) = byte;
    s.tail.store(t);
    bool kept = true;
    for (;;)
    {
        std::uint64_t h = s.head.load();
        if (h - t <= s.capacity)
        {
            break;
        }
        // Full: the newest byte goes to make room.
        if (s.head.compare_exchange_strong(h, h - 1))
        {
            kept = false;
            s.seenHead = std::min(s.seenHead, h - 1);
            break;
        }
    }
    s.UnlockConsumers();
    s.Wake();
    return kept;
}

unsigned long CByteFifo::GetBytesReady() const
{
    State const& s = *m_pState;
    std::uint64_t const t = s.tail.load();
    std::uint64_t const h = s.head.load();
    // Read apart, the two may be a step out of date with each other: clamp to what can be.
    return h - t > s.capacity ? (h < t ? 0UL : static_cast<unsigned long>(s.capacity))
                              : static_cast<unsigned long>(h - t);
}

unsigned long CByteFifo::GetSize() const
{
    return m_pState->size;
}
