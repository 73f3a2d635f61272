#pragma once

// The system clock, behind a seam that tests can replace.
//
// Everything in the library that needs "now" reads it through the functions below (the
// equivalents of Windows' GetSystemTime, GetLocalTime and SetSystemTime), and they ask the current
// ISystemTimeSource. The real source reads CLOCK_REALTIME, takes the local offset from the zone
// rules of TimeZoneRules.h (never from the host's zone directly, so installed rules apply) and sets
// the clock with clock_settime, which needs privileges and reports failure otherwise. Tests install
// a CManualSystemTimeSource, usually through CScopedSystemTimeSource, so they control the time and
// never touch the real clock:
//
//     shared::platform::CManualSystemTimeSource fake(shared::platform::UtcMilliseconds(2006, 6, 12,
//                                                    16, 5, 9, 42), 60 * 60);
//     shared::platform::CScopedSystemTimeSource use(fake);
//     SYSTEMTIME local = shared::platform::GetLocalTime();   // 17:05:09.042
//
// A source is not owned by the seam and must outlive its installation. Installation is atomic;
// the sources themselves are safe to read from several threads.

#include <atomic>
#include <cstdint>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

namespace shared::platform
{

class SHARED_API ISystemTimeSource
{
public:
    virtual ~ISystemTimeSource();

    // Milliseconds since 1970-01-01 00:00:00 UTC (negative before).
    virtual std::int64_t GetUtcMilliseconds() const = 0;
    // Seconds to add to UTC to get local wall-clock time at the given UTC instant (seconds since
    // 1970); daylight saving included.
    virtual std::int64_t GetLocalOffsetSeconds(std::int64_t utcSeconds) const = 0;
    // Sets the clock; false when the platform refuses.
    virtual bool SetUtcMilliseconds(std::int64_t utcMilliseconds) = 0;
};

// The operating system's clock.
SHARED_API ISystemTimeSource& GetRealSystemTimeSource();
// The source in use.
SHARED_API ISystemTimeSource& GetSystemTimeSource();
// Installs a source (null: the real one again) and returns the one it replaces.
SHARED_API ISystemTimeSource* SetSystemTimeSource(ISystemTimeSource* source);

// Installs a source for the lifetime of the object and then restores the previous one.
class SHARED_API CScopedSystemTimeSource
{
public:
    explicit CScopedSystemTimeSource(ISystemTimeSource& source);
    ~CScopedSystemTimeSource();
    CScopedSystemTimeSource(const CScopedSystemTimeSource&) = delete;
    CScopedSystemTimeSource& operator=(const CScopedSystemTimeSource&) = delete;

private:
    ISystemTimeSource* m_previous;
};

// A clock that stands still until told otherwise, with a fixed local offset. SetUtcMilliseconds
// succeeds (unless refused with SetRefuseSet) and moves the clock, and is counted, so tests can
// check whether and to what a caller set the clock.
class SHARED_API CManualSystemTimeSource : public ISystemTimeSource
{
public:
    explicit CManualSystemTimeSource(std::int64_t utcMilliseconds = 0,
                                     std::int64_t localOffsetSeconds = 0);

    std::int64_t GetUtcMilliseconds() const override;
    std::int64_t GetLocalOffsetSeconds(std::int64_t utcSeconds) const override;
    bool SetUtcMilliseconds(std::int64_t utcMilliseconds) override;

    void SetNow(std::int64_t utcMilliseconds);
    void Advance(std::int64_t milliseconds);
    void SetLocalOffsetSeconds(std::int64_t seconds);
    void SetRefuseSet(bool refuse);
    int GetSetCount() const;
    // The value of the last SetUtcMilliseconds call (also when refused); 0 before the first.
    std::int64_t GetLastSetUtcMilliseconds() const;

private:
    std::atomic<std::int64_t> m_utcMilliseconds;
    std::atomic<std::int64_t> m_localOffsetSeconds;
    std::atomic<bool> m_refuseSet{false};
    std::atomic<int> m_setCount{0};
    std::atomic<std::int64_t> m_lastSet{0};
};

// --- Reading and setting the clock through the current source
// -------------------------------------

// UTC now, broken down with milliseconds (GetSystemTime).
SHARED_API SYSTEMTIME GetSystemTime();
// Local wall-clock now, broken down with milliseconds (GetLocalTime).
SHARED_API SYSTEMTIME GetLocalTime();
// Sets the clock to a UTC time (SetSystemTime); false for an impossible date or time (wDayOfWeek
// is ignored) or when the platform refuses.
SHARED_API bool SetSystemTime(const SYSTEMTIME& utc);
// Milliseconds since 1970-01-01 00:00:00 UTC.
SHARED_API std::int64_t GetUtcMilliseconds();

// --- Conversions between millisecond counts and broken-down times (proleptic Gregorian)
// -----------

SHARED_API SYSTEMTIME BreakDownMilliseconds(std::int64_t milliseconds);
// Milliseconds since 1970 of a broken-down time; false when a field is out of range.
SHARED_API bool ToMilliseconds(const SYSTEMTIME& time, std::int64_t& milliseconds);
SHARED_API std::int64_t UtcMilliseconds(int year, int month, int day, int hour = 0, int minute = 0,
                                        int second = 0, int millisecond = 0);

} // namespace shared::platform
