#include "ArchiveTestSupport.h"

#include <gtest/gtest.h>
#include <shared/archive/CArchive.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/COleDateTimeSpan.h>

using namespace archive_test;

namespace
{

TEST(ArchiveDates, DatesAndSpansAreAStatusWordThenTheDouble)
{
    COleDateTime noon(39245.5); // 12 June 2007, 12:00
    COleDateTime nothing;
    nothing.SetStatus(COleDateTime::null);
    COleDateTimeSpan span(-1.25);
    COleDateTimeSpan bad;
    bad.SetStatus(COleDateTimeSpan::invalid);
    const Bytes written = Store([&](CArchive& ar) { ar << noon << nothing << span << bad; });
    const Bytes expected =
        B({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xB0, 0x29, 0xE3, 0x40,
           0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
           0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF4, 0xBF,
           0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
    EXPECT_EQ(written, expected);

    Load(expected,
         [](CArchive& ar)
         {
             COleDateTime a;
             COleDateTime b;
             COleDateTimeSpan c;
             COleDateTimeSpan d;
             ar >> a >> b >> c >> d;
             EXPECT_EQ(a.m_dt, 39245.5);
             EXPECT_EQ(a.GetStatus(), COleDateTime::valid);
             EXPECT_EQ(b.GetStatus(), COleDateTime::null);
             EXPECT_EQ(c.m_span, -1.25);
             EXPECT_EQ(c.GetStatus(), COleDateTimeSpan::valid);
             EXPECT_EQ(d.GetStatus(), COleDateTimeSpan::invalid);
         });

    // A status outside the known ones reads as an invalid date, never as a valid one; the
    // lowest known one, error, stays what it is.
    Load(B({0x07, 0x00, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0, 0,
            0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0}),
         [](CArchive& ar)
         {
             COleDateTime date;
             COleDateTime failed;
             ar >> date >> failed;
             EXPECT_EQ(date.GetStatus(), COleDateTime::invalid);
             EXPECT_EQ(failed.GetStatus(), COleDateTime::error);
         });
}

} // namespace
