#include <gtest/gtest.h>
#include <shared/phonebook/CVCFFormattedName.h>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFNickName.h>
#include <shared/phonebook/CVCFTelephoneNumber.h>
#include <shared/phonebook/CVCFUid.h>
#include <shared/phonebook/CVCFVersion.h>
#include <shared/phonebook/CVCFWardenAttributes.h>

TEST(VCardProperty, TextLinesJoinNameAndValueWithAColon)
{
    EXPECT_STREQ(CVCFVersion(CString("2.1")).GetTextLine(), "VERSION:2.1");
    EXPECT_STREQ(CVCFUid(CString("00000001")).GetTextLine(), "UID:00000001");
    EXPECT_STREQ(CVCFFormattedName(CString("Smith")).GetTextLine(), "FN:Smith");
    EXPECT_STREQ(CVCFNickName(CString("Bob")).GetTextLine(), "NICKNAME:Bob");
    EXPECT_STREQ(CVCFTelephoneNumber(CString("+44")).GetTextLine(), "TEL;CELL:+44");
    EXPECT_STREQ(CVCFLocatorAttributes(true, false, false, true, false).GetTextLine(),
                 "X-NIMBUS-ATTRIBUTES;LOCATOR:AllowVoice=True;Spot=False;Track=False;SOS=True;"
                 "Geofence=False");
    EXPECT_STREQ(CVCFWardenAttributes(false).GetTextLine(),
                 "X-NIMBUS-ATTRIBUTES;WARDEN:WardenWarnings=False");
}

TEST(VCardProperty, PlainTextValuesKeepTheTextAndRefuseEmptyOnes)
{
    CVCFVersion version;
    EXPECT_TRUE(version.Parse("2.1"));
    EXPECT_STREQ(version.GetValue(), "2.1");
    EXPECT_FALSE(version.Parse(""));
    EXPECT_STREQ(version.GetValue(), "2.1");

    CVCFNickName nick;
    EXPECT_TRUE(nick.Parse(":Bob"));
    EXPECT_STREQ(nick.GetValue(), "Bob");
}

TEST(VCardProperty, TelephoneNumberIsTheLastPieceAfterTypeWords)
{
    CVCFTelephoneNumber number;
    EXPECT_TRUE(number.Parse("+441234567890"));
    EXPECT_STREQ(number.GetValue(), "+441234567890");
    EXPECT_TRUE(number.Parse("PREF;+441234"));
    EXPECT_STREQ(number.GetValue(), "+441234");
    EXPECT_TRUE(number.Parse("VOICE:PREF;0123"));
    EXPECT_STREQ(number.GetValue(), "0123");
    EXPECT_FALSE(number.Parse(""));
    EXPECT_STREQ(number.GetValue(), "0123");
}

TEST(VCardProperty, LocatorFlagsNeedTheExactWords)
{
    CVCFLocatorAttributes attributes;
    EXPECT_TRUE(attributes.Parse("AllowVoice=True;Spot=TRUE"));
    EXPECT_TRUE(attributes.GetAllowVoice());
    EXPECT_FALSE(attributes.GetAllowSpot()) << "upper-case TRUE is not a flag word";

    EXPECT_TRUE(attributes.Parse("AllowVoice=False;Spot=yes"));
    EXPECT_FALSE(attributes.GetAllowVoice());
    EXPECT_FALSE(attributes.GetAllowSpot());
    EXPECT_STREQ(attributes.GetValue(), "AllowVoice=False;Spot=yes");

    CVCFLocatorAttributes lowerKeys;
    lowerKeys.Parse("allowvoice=True;spot=True");
    EXPECT_FALSE(lowerKeys.GetAllowVoice());
    EXPECT_FALSE(lowerKeys.GetAllowSpot());
}

TEST(VCardProperty, LocatorKeysAreUnderstoodInAnyOrder)
{
    CVCFLocatorAttributes written(true, true, false, false, true);
    CVCFLocatorAttributes shuffled;
    EXPECT_TRUE(shuffled.Parse("Geofence=True;Unknown=True;Track=False;Spot=True;SOS=False;"
                               "AllowVoice=True"));
    EXPECT_EQ(shuffled.GetAllowVoice(), written.GetAllowVoice());
    EXPECT_EQ(shuffled.GetAllowSpot(), written.GetAllowSpot());
    EXPECT_EQ(shuffled.GetAllowTrack(), written.GetAllowTrack());
    EXPECT_EQ(shuffled.GetSendSOS(), written.GetSendSOS());
    EXPECT_EQ(shuffled.GetSendGeofence(), written.GetSendGeofence());
}

TEST(VCardProperty, ConstructorArgumentsPutSosBeforeGeofence)
{
    const CVCFLocatorAttributes sosOnly(false, false, false, true, false);
    EXPECT_TRUE(sosOnly.GetSendSOS());
    EXPECT_FALSE(sosOnly.GetSendGeofence());
}

TEST(VCardProperty, WardenWarningsRoundTrip)
{
    CVCFWardenAttributes attributes;
    EXPECT_TRUE(attributes.Parse(CVCFWardenAttributes(true).GetValue()));
    EXPECT_TRUE(attributes.GetWardenWarnings());
    EXPECT_TRUE(attributes.Parse("WardenWarnings=False"));
    EXPECT_FALSE(attributes.GetWardenWarnings());
    EXPECT_FALSE(attributes.Parse(""));
    // A string literal is value text; it must not convert to bool and pick the flag constructor.
    EXPECT_STREQ(CVCFWardenAttributes("WardenWarnings=False").GetValue(), "WardenWarnings=False");
}
