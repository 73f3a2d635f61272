#include <gtest/gtest.h>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFNickName.h>
#include <shared/phonebook/CVCFTelephoneNumber.h>
#include <shared/phonebook/CVCFVersion.h>
#include <shared/phonebook/CVCFWardenAttributes.h>

TEST(VCardProperty, TextValuesKeepTheTextAndRefuseEmptyOnes)
{
    CVCFVersion version;
    EXPECT_TRUE(version.Parse("2.1"));
    EXPECT_FALSE(version.Parse(""));
    EXPECT_STREQ(version.GetValue(), "2.1");
    CVCFNickName nick;
    EXPECT_TRUE(nick.Parse(":Bob"));
    EXPECT_STREQ(nick.GetValue(), "Bob");

    // A telephone number is the last piece after any type words.
    CVCFTelephoneNumber number;
    for (const char* text : {"PREF;0123", "VOICE:PREF;0123", "0123"})
    {
        EXPECT_TRUE(number.Parse(text)) << text;
        EXPECT_STREQ(number.GetValue(), "0123") << text;
    }
    EXPECT_FALSE(number.Parse(""));
    EXPECT_STREQ(number.GetValue(), "0123");
}

TEST(VCardProperty, LocatorFlagsNeedTheExactWordsInAnyOrder)
{
    CVCFLocatorAttributes attributes;
    EXPECT_TRUE(attributes.Parse("AllowVoice=True;Spot=TRUE"));
    EXPECT_TRUE(attributes.GetAllowVoice());
    EXPECT_FALSE(attributes.GetAllowSpot()) << "upper-case TRUE is not a flag word";
    EXPECT_TRUE(attributes.Parse("AllowVoice=False;Spot=yes"));
    EXPECT_FALSE(attributes.GetAllowVoice());
    EXPECT_STREQ(attributes.GetValue(), "AllowVoice=False;Spot=yes");
    attributes.Parse("allowvoice=True;spot=True");
    EXPECT_FALSE(attributes.GetAllowVoice() || attributes.GetAllowSpot()) << "keys keep their case";

    EXPECT_TRUE(attributes.Parse("Geofence=True;Unknown=True;Track=False;Spot=True;SOS=False;"
                                 "AllowVoice=True"));
    EXPECT_TRUE(attributes.GetAllowVoice() && attributes.GetAllowSpot() &&
                attributes.GetSendGeofence());
    EXPECT_FALSE(attributes.GetAllowTrack() || attributes.GetSendSOS());
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
