#include <chrono>
#include <condition_variable>
#include <mutex>
#include <shared/comms/CByteFifo.h>
#include <vector>

struct CByteFifo::State
{
    explicit State(unsigned long requested) : size(requested < 2 ? 2 : requested), buffer(size) {}

    unsigned long Next(unsigned long offset) const { return offset + 1 == size ? 0 : offset + 1; }
    unsigned long Prev(unsigned long offset) const { return offset == 0 ? size - 1 : offset - 1; }
    bool IsFull() const { return writeOffset == readOffset; }
    bool IsEmpty() const { return Next(readOffset) == writeOffset; }
    void Wake()
    {
        if (waiters != 0)
        {
            arrived.notify_all();
        }
    }

    unsigned long const size;
    std::vector<unsigned char> buffer;
    unsigned long writeOffset = 1; // where the next byte goes
    unsigned long readOffset = 0;  // where the last byte was taken from
    unsigned long count = 0;
    mutable std::mutex lock;
    std::condition_variable arrived;
    unsigned waiters = 0; // consumers sleeping on arrived; producers notify only when there are
};

CByteFifo::CByteFifo(unsigned long size) : m_pState(std::make_shared<State>(size)) {}

CByteFifo::~CByteFifo() = default;

void CByteFifo::Empty()
{
    std::lock_guard guard(m_pState->lock);
    m_pState->writeOffset = 1;
    m_pState->readOffset = 0;
    m_pState->count = 0;
}

bool CByteFifo::PutByte(unsigned char byte)
{
    return PutBytes(&byte, 1) == 1;
}

unsigned long CByteFifo::PutBytes(void const* bytes, unsigned long count)
{
    State& s = *m_pState;
    auto const* in = static_cast<unsigned char const*>(bytes);
    std::lock_guard guard(s.lock);
    unsigned long stored = 0;
    while (stored < count && !s.IsFull())
    {
        s.buffer[s.writeOffset] = in[stored++];
        s.writeOffset = s.Next(s.writeOffset);
        ++s.count;
    }
    if (stored != 0)
    {
        s.Wake();
    }
    return stored;
}

bool CByteFifo::GetByte(unsigned char& byte, unsigned long timeoutMs)
{
    State& s = *m_pState;
    std::unique_lock guard(s.lock);
    if (s.IsEmpty())
    {
        if (timeoutMs == 0)
        {
            return false;
        }
        // Several consumers may wait; each re-checks after waking, so one that lost the byte to
        // another keeps waiting for the rest of its time instead of reading an empty ring.
        ++s.waiters;
        auto const ready = [&s] { return !s.IsEmpty(); };
        if (timeoutMs == Infinite)
        {
            s.arrived.wait(guard, ready);
        }
        else
        {
            s.arrived.wait_for(guard, std::chrono::milliseconds(timeoutMs), ready);
        }
        --s.waiters;
        if (s.IsEmpty())
        {
            return false;
        }
    }
    s.readOffset = s.Next(s.readOffset);
    byte = s.buffer[s.readOffset];
    --s.count;
    return true;
}

bool CByteFifo::UngetByte(unsigned char byte)
{
    State& s = *m_pState;
    std::lock_guard guard(s.lock);
    bool kept = true;
    if (s.IsFull())
    {
        s.writeOffset = s.Prev(s.writeOffset);
        --s.count;
        kept = false;
    }
    s.buffer[s.readOffset] = byte;
    s.readOffset = s.Prev(s.readOffset);
    ++s.count;
    s.Wake();
    return kept;
}

unsigned long CByteFifo::GetBytesReady() const
{
    std::lock_guard guard(m_pState->lock);
    return m_pState->count;
}

unsigned long CByteFifo::GetSize() const
{
    return m_pState->size;
}
