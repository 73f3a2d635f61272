#pragma once

#include <memory>
#include <shared/platform/Export.h>

// A fixed-size ring of bytes between one producer thread and consumer threads that take bytes
// out with a timed wait, and that may push bytes back at the front (a parser that read one
// byte too many).
//
// Bytes pass without a lock: the producer publishes with one atomic step per call, consumers
// take turns through a short spin lock, and only a consumer that has to sleep touches a mutex.
// Hence only one thread may put at a time (the device's receive thread).
//
// One cell always stays unused, so a FIFO of size n holds at most n - 1 bytes: kept on purpose,
// it is how the ring tells "full" (write offset on the read offset) from "empty" (write offset
// just after it).
class SHARED_API CByteFifo
{
public:
    // A timeout that waits for ever (the value of the Windows INFINITE constant).
    static constexpr unsigned long Infinite = 0xFFFFFFFFUL;

    // Sizes below 2 are raised to 2 (a ring of one cell could hold nothing); sizes above 1 GiB
    // throw std::bad_alloc.
    explicit CByteFifo(unsigned long size = 4096);
    // A copy is another handle on the same ring: it shares buffer, offsets, lock and wake-up.
    CByteFifo(CByteFifo const& other) = default;
    CByteFifo& operator=(CByteFifo const& other) = default;
    virtual ~CByteFifo();

    void Empty();
    // False when the FIFO is full; the byte is dropped and the caller decides what to do.
    bool PutByte(unsigned char byte);
    // Puts as many bytes as fit, in order, under one lock; returns how many were stored.
    unsigned long PutBytes(void const* bytes, unsigned long count);
    // Waits up to timeoutMs (Infinite: for ever; 0: not at all) for a byte.
    bool GetByte(unsigned char& byte, unsigned long timeoutMs);
    // Takes up to count bytes in one go: whatever is there, after waiting up to timeoutMs for
    // the first one when there is none. Returns how many were taken.
    unsigned long GetBytes(void* bytes, unsigned long count, unsigned long timeoutMs);
    // Pushes a byte back at the front; when the FIFO is full the newest byte is dropped to make
    // room and the answer is false.
    bool UngetByte(unsigned char byte);
    unsigned long GetBytesReady() const;
    // The ring's size (it holds one byte less).
    unsigned long GetSize() const;

private:
    struct State;
    std::shared_ptr<State> m_pState;
};
