#pragma once

// One week of one year: the key by which logged data is filed ("Yr-2006-Wk-23" under
// "Warden Log 2006\"). Weeks are plain seven-day blocks counted from 1 January (not calendar or
// ISO weeks), numbered 0 to 52; week 52 holds only 31 December, or 30 and 31 December in a leap
// year. The class does no zone conversion: a period is in whatever time base its caller uses.
// The hours of a week are indexed 0 to 167 so that data can be placed in hour slots.

#include <shared/framework/CList.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

class SHARED_API CYearWeekPeriod
{
public:
    // Year 0 and week 65535: the invalid marker.
    CYearWeekPeriod();
    CYearWeekPeriod(unsigned short year, unsigned short week);
    // The period holding the date; the invalid marker for a date that is not valid.
    explicit CYearWeekPeriod(COleDateTime const& dt);
    // Reads only the year, from the four characters at position 3 of a descriptor such as
    // "Yr-2006-Wk-23"; the week is deliberately left unset (65535) for the caller to set.
    explicit CYearWeekPeriod(CString const& descriptor);
    CYearWeekPeriod(CYearWeekPeriod const& other) = default;
    CYearWeekPeriod& operator=(CYearWeekPeriod const& other) = default;
    virtual ~CYearWeekPeriod() = default;

    bool operator==(CYearWeekPeriod const& other) const;
    bool operator!=(CYearWeekPeriod const& other) const;
    // By year, then by week.
    bool operator<=(CYearWeekPeriod const& other) const;

    unsigned short GetYear() const { return m_usYear; }
    unsigned short GetWeek() const { return m_usWeek; }
    void SetYear(unsigned short year) { m_usYear = year; }
    void SetWeek(unsigned short week) { m_usWeek = week; }

    // "Yr-%04hu-Wk-%02hu"
    CString GetFileDescriptor() const;
    // "Warden Log %04hu\" (the trailing backslash is part of the name)
    CString GetYearDirectory() const;
    // Year directory + file descriptor + "\"
    CString GetWeekDirectory() const;

    COleDateTime GetStartOfPeriod() const;
    // Exclusive; week 52 (or more) ends at 1 January of the next year.
    COleDateTime GetEndOfPeriod() const;
    int IsDateTimeBeforePeriod(COleDateTime const& dt) const;
    int IsDateTimeAfterPeriod(COleDateTime const& dt) const;
    int IsDateTimeInPeriod(COleDateTime const& dt) const;

    CYearWeekPeriod GetNextPeriod() const;
    CYearWeekPeriod GetPreviousPeriod() const;

    static long GetInvalidHourIndex() { return -1; }
    // Whole hours from the start of the period, or -1 outside it.
    long GetHourIndex(COleDateTime const& dt) const;
    // Hour index of dt's midnight, or -1 outside the period.
    long GetStartDayIndex(COleDateTime const& dt) const;
    // The exclusive end of hour slot i.
    COleDateTime GetEndDateTimeOfHourIndex(long i) const;

    // Empties periods, then lists the period of `from` and every following one up to that of
    // `to`; at least the period of `from`, even when `to` lies before it.
    static void GetInclusivePeriodsList(COleDateTime const& from, COleDateTime const& to,
                                        CList<CYearWeekPeriod, CYearWeekPeriod&>& periods);

private:
    unsigned short m_usYear;
    unsigned short m_usWeek;
};
