#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <shared/comms/CSignal0.h>
#include <shared/comms/CSignal2.h>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace
{

// Records every call into a shared log and runs an optional action inside the call.
class RecordingSlot : public CBaseSlot0
{
public:
    RecordingSlot(std::string name, std::vector<std::string>& log, bool handles = false)
        : m_name(std::move(name)), m_log(log), m_handles(handles)
    {
    }
    ~RecordingSlot() override { BeginDestroy(); }
    bool Invoke() override
    {
        m_log.push_back(m_name);
        if (m_action)
        {
            m_action();
        }
        return m_handles;
    }
    std::function<void()> m_action;

private:
    std::string m_name;
    std::vector<std::string>& m_log;
    bool m_handles;
};

// Counts calls and the highest number of calls that were inside at once; each call can be held
// until the test lets it go.
class GateSlot : public CBaseSlot2<int, int>
{
public:
    ~GateSlot() override { BeginDestroy(); }
    bool Invoke(int, int) override
    {
        int const inside = ++m_inside;
        for (int seen = m_maxInside;
             inside > seen && !m_maxInside.compare_exchange_weak(seen, inside);)
        {
        }
        ++m_calls;
        m_entered = true;
        Wait(m_open);
        --m_inside;
        return false;
    }
    static void Wait(std::atomic<bool> const& flag)
    {
        while (!flag)
        {
            std::this_thread::sleep_for(1ms);
        }
    }
    void WaitEntered() const { Wait(m_entered); }
    std::atomic<bool> m_open{true};
    std::atomic<bool> m_entered{false};
    std::atomic<int> m_calls{0};
    std::atomic<int> m_inside{0};
    std::atomic<int> m_maxInside{0};
};

// Copyable: counts its calls in a plain member.
struct CountSlot : CBaseSlot2<int, int>
{
    bool Invoke(int, int) override
    {
        ++calls;
        return false;
    }
    int calls = 0;
};

// Runs body(0) .. body(n - 1) on n threads and waits for all of them.
template <class Body> void InParallel(int n, Body body)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < n; ++t)
    {
        threads.emplace_back(body, t);
    }
    for (auto& t : threads)
    {
        t.join();
    }
}

} // namespace

TEST(SigSlot, DeliversInPriorityOrderAndStopsWhenHandled)
{
    std::vector<std::string> log;
    CSignal0 signal;
    EXPECT_FALSE(signal.Send()) << "no slot connected";

    RecordingSlot a("a128", log), b("b200", log), c("c128", log), d("d50", log);
    signal.Connect(a, 128);
    signal.Connect(b, 200);
    signal.Connect(c, 128);
    signal.Connect(d, 50);
    signal.Connect(b, 10); // already connected: keeps 200
    EXPECT_FALSE(signal());
    EXPECT_EQ(log, (std::vector<std::string>{"b200", "a128", "c128", "d50"}));
    EXPECT_EQ(signal.GetSlotPriority(&b), 200);
    EXPECT_EQ(signal.GetSlotPriority(&d), 50);

    RecordingSlot stopper("stop", log, true), unconnected("x", log);
    EXPECT_EQ(signal.GetSlotPriority(&unconnected), 128);
    signal.Connect(stopper, 100);
    log.clear();
    EXPECT_TRUE(signal.Send());
    EXPECT_EQ(log, (std::vector<std::string>{"b200", "a128", "c128", "stop"}));

    signal.Disconnect(unconnected); // not connected: nothing happens
    signal.Disconnect(stopper);
    signal.Disconnect(stopper);
    log.clear();
    EXPECT_FALSE(signal.Send());
    EXPECT_EQ(log.size(), 4u);
}

TEST(SigSlot, RemovalDuringEmissionNeitherSkipsNorRepeats)
{
    std::vector<std::string> log;
    CSignal0 signal;
    RecordingSlot a("a", log), b("b", log), c("c", log), d("d", log);
    for (RecordingSlot* s : {&a, &b, &c, &d})
    {
        signal.Connect(*s, 128);
    }

    a.m_action = [&] { signal.Disconnect(a); }; // itself
    EXPECT_FALSE(signal.Send());
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "c", "d"}));

    log.clear();
    b.m_action = [&] { signal.Disconnect(c); }; // the next one
    signal.Send();
    EXPECT_EQ(log, (std::vector<std::string>{"b", "d"}));

    log.clear();
    b.m_action = [&] { b.DisconnectAll(); };    // from the slot's side, now the head
    d.m_action = [&] { signal.Connect(a, 1); }; // connecting during emission is allowed too
    signal.Send();
    EXPECT_EQ(log, (std::vector<std::string>{"b", "d", "a"}));

    log.clear();
    d.m_action = [&] { signal.DisconnectAll(); };
    signal.Send();
    EXPECT_EQ(log, (std::vector<std::string>{"d"}));
    log.clear();
    EXPECT_FALSE(signal.Send());
    EXPECT_TRUE(log.empty());
}

TEST(SigSlot, ReentrancyModesOnTheSameThread)
{
    std::vector<std::string> log;
    CSignal0 signal;
    RecordingSlot slot("s", log);
    signal.Connect(slot, 128);
    int depth = 0;
    slot.m_action = [&]
    {
        if (++depth < 3)
        {
            signal.Send();
        }
    };

    EXPECT_EQ(slot.GetReentrancyMode(), SSRM_SKIP_IF_BUSY);
    signal.Send(); // the inner emission passes the busy slot by
    EXPECT_EQ(log.size(), 1u);

    for (E_SigSlotReentrancyMode mode : {SSRM_UNRESTRICTED, SSRM_SERIALIZE})
    {
        log.clear();
        depth = 0;
        slot.SetReentrancyMode(mode);
        signal.Send(); // re-entered twice: the serialising mutex is recursive
        EXPECT_EQ(log.size(), 3u) << "mode " << mode;
    }

    // The mode may change while a call runs; leaving undoes what entering did.
    log.clear();
    slot.SetReentrancyMode(SSRM_SERIALIZE);
    slot.m_action = [&] { slot.SetReentrancyMode(SSRM_SKIP_IF_BUSY); };
    signal.Send();
    slot.m_action = nullptr;
    std::thread other([&] { signal.Send(); });
    other.join(); // would hang if the serialising mutex were still held
    EXPECT_EQ(log.size(), 2u);
}

TEST(SigSlot, ReentrancyModesAcrossThreads)
{
    struct Case
    {
        E_SigSlotReentrancyMode mode;
        int callsAfterBoth;
        int maxInside;
    };
    for (Case c :
         {Case{SSRM_SKIP_IF_BUSY, 1, 1}, Case{SSRM_UNRESTRICTED, 2, 2}, Case{SSRM_SERIALIZE, 2, 1}})
    {
        CSignal2<int, int> signal;
        GateSlot slot;
        slot.SetReentrancyMode(c.mode);
        signal.Connect(slot, 128);
        slot.m_open = false;
        std::thread first([&] { signal.Send(1, 1); });
        slot.WaitEntered();
        std::thread second([&] { signal.Send(2, 2); });
        if (c.mode == SSRM_SKIP_IF_BUSY)
        {
            second.join(); // passed by at once while the first call is held
        }
        else
        {
            std::this_thread::sleep_for(30ms);
        }
        slot.m_open = true;
        first.join();
        if (second.joinable())
        {
            second.join();
        }
        EXPECT_EQ(slot.m_calls.load(), c.callsAfterBoth) << "mode " << c.mode;
        EXPECT_EQ(slot.m_maxInside.load(), c.maxInside) << "mode " << c.mode;
    }
}

TEST(SigSlot, SerialisedSlotMayUseItsSignalWhileOthersEmit)
{
    // The running call re-emits while another thread waits to call the same slot: the waiter
    // must not hold the signal's lock while it waits, or both threads would hang.
    CSignal0 signal;
    struct Reemitter : CBaseSlot0
    {
        ~Reemitter() override { BeginDestroy(); }
        bool Invoke() override
        {
            thread_local int depth = 0;
            if (depth == 0)
            {
                ++depth;
                std::this_thread::sleep_for(std::chrono::microseconds(50));
                (*signal)();
                --depth;
            }
            ++calls;
            return false;
        }
        CSignal0* signal = nullptr;
        std::atomic<int> calls{0};
    } slot;
    slot.signal = &signal;
    slot.SetReentrancyMode(SSRM_SERIALIZE);
    signal.Connect(slot, 128);
    InParallel(2,
               [&](int)
               {
                   for (int i = 0; i < 200; ++i)
                   {
                       signal.Send();
                   }
               });
    EXPECT_EQ(slot.calls.load(), 800);
}

TEST(SigSlot, DestroyingASlotWaitsForItsRunningCall)
{
    CSignal2<int, int> signal;
    auto slot = std::make_unique<GateSlot>();
    GateSlot* raw = slot.get();
    signal.Connect(*slot, 128);
    raw->m_open = false;
    std::thread emitter([&] { signal.Send(1, 2); });
    raw->WaitEntered();

    std::atomic<bool> destroyed{false};
    std::thread destroyer(
        [&]
        {
            slot.reset();
            destroyed = true;
        });
    std::this_thread::sleep_for(30ms);
    EXPECT_FALSE(destroyed.load()) << "the destructor must wait for the running call";
    // Emissions reaching the dying slot meanwhile pass it by.
    EXPECT_FALSE(signal.Send(3, 4));
    EXPECT_EQ(raw->m_calls.load(), 1);

    raw->m_open = true;
    emitter.join();
    destroyer.join();
    EXPECT_TRUE(destroyed.load());
    EXPECT_EQ(signal.GetSlotPriority(raw), 128);
    EXPECT_FALSE(signal.Send(5, 6));
}

TEST(SigSlot, DestroyingTheSignalEndsRunningEmissions)
{
    std::vector<std::string> log;
    {
        // Further up the stack: a slot deletes the signal that is calling it.
        auto signal = std::make_unique<CSignal0>();
        RecordingSlot a("a", log), b("b", log);
        signal->Connect(a, 200);
        signal->Connect(b, 100);
        a.m_action = [&] { signal.reset(); };
        // The emission must not touch the dead signal; the call itself is on the old object, so
        // it is made through a raw pointer that stays valid up to the deletion.
        CSignal0* raw = signal.get();
        EXPECT_FALSE(raw->Send());
        EXPECT_EQ(log, (std::vector<std::string>{"a"}));
    }
    {
        // On another thread: the emission is inside a slot when the signal dies.
        auto signal = std::make_unique<CSignal2<int, int>>();
        GateSlot first, second;
        signal->Connect(first, 200);
        signal->Connect(second, 100);
        first.m_open = false;
        CSignal2<int, int>* raw = signal.get();
        std::thread emitter([raw] { raw->Send(0, 0); });
        first.WaitEntered();
        signal.reset();
        first.m_open = true;
        emitter.join();
        EXPECT_EQ(second.m_calls.load(), 0);
    }
}

TEST(SigSlot, CopiesAreWiredLikeTheirSource)
{
    std::vector<std::string> log;
    RecordingSlot a("a", log), b("b", log), c("c", log), other("o", log);
    CSignal0 source;
    source.Connect(a, 10);
    source.Connect(b, 250);
    source.Connect(c, 10);

    CSignal0 copy(source);
    EXPECT_EQ(copy.GetSlotPriority(&a), 10);
    EXPECT_EQ(copy.GetSlotPriority(&b), 250);
    copy.Send();
    EXPECT_EQ(log, (std::vector<std::string>{"b", "a", "c"}));

    CSignal0 assigned;
    assigned.Connect(other, 128);
    assigned = source;
    log.clear();
    assigned.Send();
    EXPECT_EQ(log, (std::vector<std::string>{"b", "a", "c"}));

    // Slots: the copy joins every signal of the source at the source's priority and mode.
    CSignal2<int, int> s1, s2;
    CountSlot original;
    original.SetReentrancyMode(SSRM_UNRESTRICTED);
    s1.Connect(original, 7);
    s2.Connect(original, 99);
    CountSlot duplicate(original);
    EXPECT_EQ(s1.GetSlotPriority(&duplicate), 7);
    EXPECT_EQ(s2.GetSlotPriority(&duplicate), 99);
    EXPECT_EQ(duplicate.GetReentrancyMode(), SSRM_UNRESTRICTED);
    s1.Send(0, 0);
    EXPECT_EQ(duplicate.calls, 1);

    CountSlot target;
    CSignal2<int, int> s3;
    s3.Connect(target, 1);
    target = original;
    EXPECT_EQ(s3.GetSlotPriority(&target), 128) << "the target's old links are dropped";
}

TEST(SigSlot, ConcurrentWiringEmissionAndDestructionStayConsistent)
{
    // Signals and slots are created, connected, emitted and destroyed from several threads at
    // once; the sanitizers and the final counts catch lost or dangling links.
    CSignal2<int, int> shared;
    GateSlot permanent;
    shared.Connect(permanent, 128);

    std::atomic<int> wiring{2};
    InParallel(4,
               [&](int t)
               {
                   for (bool first = true; t < 2 && (first || wiring > 0); first = false)
                   {
                       shared.Send(1, 2);
                   }
                   for (int i = 0; t >= 2 && i < 300; ++i)
                   {
                       GateSlot slot;
                       auto signal = std::make_unique<CSignal2<int, int>>();
                       signal->Connect(slot, static_cast<unsigned char>(i));
                       shared.Connect(slot, static_cast<unsigned char>((t - 2) * 100 + i % 50));
                       CSignal2<int, int> copy(*signal);
                       signal->Send(3, 4);
                       if (i % 2 == 0)
                       {
                           signal.reset(); // signal dies first
                       }
                   } // slot dies while the emitters may be calling it
                   wiring -= t >= 2 ? 1 : 0;
               });
    // Only the permanent slot is left.
    int const before = permanent.m_calls;
    EXPECT_GT(before, 0);
    shared.Send(0, 0);
    EXPECT_EQ(permanent.m_calls.load(), before + 1);
}
