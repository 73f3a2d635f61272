#include "UserPlacesTestSupport.h"

#include <shared/places/CSetCollection.h>
#include <shared/places/CWardenSetModifier.h>

namespace
{
CSetCollection TwoSetsSharingAnItem()
{
    CSetCollection collection;
    for (unsigned id : {1u, 2u})
    {
        CSet set;
        set.SetSetId(Cint64(0, id));
        set.InsertItem(Cint64(0, 100), false);
        set.InsertItem(Cint64(0, 100 + id), false);
        collection.AddSet(set);
    }
    return collection;
}
} // namespace

TEST(WardenSetModifier, DeleteRemovesTheItemFromEverySet)
{
    CSetCollection collection = TwoSetsSharingAnItem();
    CWardenSetModifier modifier(&collection);
    EXPECT_TRUE(modifier.DeleteItem(Cint64(0, 100)));
    EXPECT_FALSE(collection.GetSet(Cint64(0, 1))->IsItemInSet(Cint64(0, 100)));
    EXPECT_FALSE(collection.GetSet(Cint64(0, 2))->IsItemInSet(Cint64(0, 100)));
    EXPECT_TRUE(collection.GetSet(Cint64(0, 2))->IsItemInSet(Cint64(0, 102)));
    EXPECT_FALSE(modifier.DeleteItem(Cint64(0, 100)));
}

TEST(WardenSetModifier, ModifyRefreshesTheSetsThatHoldTheItem)
{
    FixedClock clock;
    CSetCollection collection = TwoSetsSharingAnItem();
    clock.Source().Advance(86400000);
    CWardenSetModifier modifier(&collection);
    EXPECT_TRUE(modifier.ModifyItem(Cint64(0, 101)));
    EXPECT_DOUBLE_EQ(collection.GetSet(Cint64(0, 1))->GetLastUpdatedTime().m_dt, kFixedDay + 1);
    EXPECT_DOUBLE_EQ(collection.GetSet(Cint64(0, 2))->GetLastUpdatedTime().m_dt, kFixedDay);
    EXPECT_TRUE(collection.GetSet(Cint64(0, 1))->IsItemInSet(Cint64(0, 101)));
    EXPECT_FALSE(modifier.ModifyItem(Cint64(0, 555)));

    CSetCollection empty;
    EXPECT_FALSE(CWardenSetModifier(&empty).ModifyItem(Cint64(0, 101)));
}

TEST(WardenSetModifier, WithoutACollectionFailsAndLogsEachCall)
{
    ScratchFolder folder;
    LogCapture log(folder);
    CWardenSetModifier modifier(nullptr);
    EXPECT_FALSE(modifier.DeleteItem(Cint64(0, 1)));
    EXPECT_FALSE(modifier.ModifyItem(Cint64(0, 1)));
    EXPECT_EQ(
        log.Messages(),
        std::vector<std::string>(
            2, "ERROR CWardenSetModifier::ChangeSetsForItemChange() m_pSetCollection not set"));
}
