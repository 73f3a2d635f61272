#include "ArchiveTestSupport.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <shared/archive/CArchive.h>
#include <string>
#include <vector>

using namespace archive_test;

// Persistent classes of the tests. (Serialize is not marked override: DECLARE_SERIAL's own
// virtual is not either, and clang objects to a mix.)
class CTestPoint : public CObject
{
    DECLARE_SERIAL(CTestPoint)

public:
    CTestPoint() = default;
    CTestPoint(LONG x, LONG y) : m_x(x), m_y(y) {}
    virtual void Serialize(CArchive& ar)
    {
        if (ar.IsStoring())
        {
            ar << m_x << m_y;
        }
        else
        {
            ar >> m_x >> m_y;
        }
    }
    LONG m_x = 0;
    LONG m_y = 0;
};
IMPLEMENT_SERIAL(CTestPoint, CObject, 1)

class CTestDerived : public CTestPoint
{
    DECLARE_SERIAL(CTestDerived)

public:
    CTestDerived() = default;
    CTestDerived(LONG x, LONG y) : CTestPoint(x, y) {}
};
IMPLEMENT_SERIAL(CTestDerived, CTestPoint, 1)

// Versionable at schema 3; schema 1 had no count.
class CTestNamed : public CObject
{
    DECLARE_SERIAL(CTestNamed)

public:
    virtual void Serialize(CArchive& ar)
    {
        if (ar.IsStoring())
        {
            ar << m_name << m_count;
        }
        else
        {
            m_schema = ar.GetObjectSchema();
            m_secondSchema = ar.GetObjectSchema();
            ar >> m_name;
            if (m_schema >= 2)
            {
                ar >> m_count;
            }
        }
    }
    CString m_name;
    LONG m_count = -1;
    UINT m_schema = 0;
    UINT m_secondSchema = 0;
};
IMPLEMENT_SERIAL(CTestNamed, CObject, VERSIONABLE_SCHEMA | 3)

// Holds points by value, reading each as an object, copying it and freeing the one read, as
// the library's collections do.
class CTestBag : public CObject
{
    DECLARE_SERIAL(CTestBag)

public:
    virtual void Serialize(CArchive& ar)
    {
        if (ar.IsStoring())
        {
            ar << static_cast<LONG>(m_points.size());
            for (const auto& point : m_points)
            {
                ar << &point;
            }
            return;
        }
        LONG count = 0;
        ar >> count;
        for (LONG i = 0; i < count; ++i)
        {
            CObject* read = ar.ReadObject(RUNTIME_CLASS(CTestPoint));
            if (read == nullptr)
            {
                continue;
            }
            const auto* point = static_cast<CTestPoint*>(read);
            m_points.emplace_back(point->m_x, point->m_y);
            ar.UnmapObject(read);
            delete read;
        }
    }
    std::vector<CTestPoint> m_points;
};
IMPLEMENT_SERIAL(CTestBag, CObject, VERSIONABLE_SCHEMA | 1)

class CTestDynamicOnly : public CObject
{
    DECLARE_DYNAMIC(CTestDynamicOnly)
};
IMPLEMENT_DYNAMIC(CTestDynamicOnly, CObject)

namespace
{

Bytes NewClass(WORD schema, const std::string& name)
{
    Bytes bytes = B({0xFF, 0xFF, schema & 0xFF, schema >> 8, static_cast<int>(name.size()), 0});
    AppendText(bytes, name);
    return bytes;
}

Bytes Point(LONG x, LONG y)
{
    return B({x & 0xFF, (x >> 8) & 0xFF, (x >> 16) & 0xFF, (x >> 24) & 0xFF, y & 0xFF,
              (y >> 8) & 0xFF, (y >> 16) & 0xFF, (y >> 24) & 0xFF});
}

// Frees each distinct object once, back-references included.
struct Owned
{
    std::set<CObject*> objects;
    CObject* Keep(CObject* object)
    {
        if (object != nullptr)
        {
            objects.insert(object);
        }
        return object;
    }
    ~Owned()
    {
        for (CObject* object : objects)
        {
            delete object;
        }
    }
};

TEST(ArchiveObjects, NewClassesClassReferencesBackReferencesAndNull)
{
    CTestPoint first(1, 2);
    CTestPoint second(-1, 3);
    const Bytes written = Store(
        [&](CArchive& ar)
        {
            ar << &first << &second << &first;
            ar << static_cast<CObject*>(nullptr);
        });
    // Class "CTestPoint" takes index 1, the first point 2, the second 3.
    Bytes expected = NewClass(1, "CTestPoint");
    Append(expected, Point(1, 2));
    Append(expected, B({0x01, 0x80}));
    Append(expected, Point(-1, 3));
    Append(expected, B({0x02, 0x00, 0x00, 0x00}));
    EXPECT_EQ(written, expected);

    Load(expected,
         [](CArchive& ar)
         {
             Owned owned;
             CObject* a = owned.Keep(ar.ReadObject(RUNTIME_CLASS(CTestPoint)));
             CObject* b = nullptr;
             ar >> b;
             owned.Keep(b);
             CTestPoint* again = nullptr;
             ar >> again; // the typed operator of the class
             CObject* none = ar.ReadObject(nullptr);
             ASSERT_NE(a, nullptr);
             ASSERT_NE(b, nullptr);
             EXPECT_NE(a, b);
             EXPECT_EQ(again, a);
             EXPECT_EQ(none, nullptr);
             EXPECT_TRUE(a->IsKindOf(RUNTIME_CLASS(CTestPoint)));
             EXPECT_EQ(static_cast<CTestPoint*>(a)->m_y, 2);
             EXPECT_EQ(static_cast<CTestPoint*>(b)->m_x, -1);
         });
}

TEST(ArchiveObjects, ReadsANestedFileAssembledByHand)
{
    // A bag holding two points, as the library's collection files are laid out: the bag's
    // class is 1, the bag 2, the point class 3, the points 4 and 5.
    Bytes bytes = NewClass(1, "CTestBag");
    Append(bytes, B({0x02, 0x00, 0x00, 0x00}));
    Append(bytes, NewClass(1, "CTestPoint"));
    Append(bytes, Point(5, 6));
    Append(bytes, B({0x03, 0x80}));
    Append(bytes, Point(7, 8));

    Load(bytes,
         [](CArchive& ar)
         {
             CTestBag* bag = nullptr;
             ar >> bag;
             std::unique_ptr<CTestBag> owner(bag);
             ASSERT_NE(bag, nullptr);
             ASSERT_EQ(bag->m_points.size(), 2u);
             EXPECT_EQ(bag->m_points[0].m_x, 5);
             EXPECT_EQ(bag->m_points[1].m_y, 8);
         });

    CTestBag bag;
    bag.m_points.emplace_back(5, 6);
    bag.m_points.emplace_back(7, 8);
    EXPECT_EQ(Store([&](CArchive& ar) { ar << &bag; }), bytes);
}

TEST(ArchiveObjects, IndicesFrom0x7FFFOnUseTheLongForm)
{
    // 0x7FFF points take indices 2..0x8000 after their class; the derived class is 0x8001.
    std::vector<CTestPoint> points(0x7FFF);
    for (size_t i = 0; i < points.size(); ++i)
    {
        points[i] = CTestPoint(static_cast<LONG>(i), 0);
    }
    CTestDerived derived1(100, 101);
    CTestDerived derived2(200, 201);
    auto write = [&](CArchive& ar)
    {
        for (const auto& point : points)
        {
            ar << &point;
        }
        ar << &derived1 << &derived2;
        ar << &points[0x7FFC] << &points[0x7FFD] << &derived1;
    };
    const Bytes written = Store(write);

    Bytes tail = NewClass(1, "CTestDerived");
    Append(tail, Point(100, 101));
    Append(tail, B({0xFF, 0x7F, 0x01, 0x80, 0x00, 0x80})); // class 0x8001 in the long form
    Append(tail, Point(200, 201));
    Append(tail, B({0xFE, 0x7F}));                         // object 0x7FFE still short
    Append(tail, B({0xFF, 0x7F, 0xFF, 0x7F, 0x00, 0x00})); // object 0x7FFF long
    Append(tail, B({0xFF, 0x7F, 0x02, 0x80, 0x00, 0x00})); // object 0x8002
    ASSERT_GT(written.size(), tail.size());
    EXPECT_EQ(Bytes(written.end() - static_cast<long>(tail.size()), written.end()), tail);

    Load(written,
         [&](CArchive& ar)
         {
             Owned owned;
             std::vector<CObject*> read;
             for (size_t i = 0; i < points.size() + 5; ++i)
             {
                 read.push_back(owned.Keep(ar.ReadObject(RUNTIME_CLASS(CTestPoint))));
             }
             EXPECT_EQ(static_cast<CTestPoint*>(read[0x7FFE])->m_x, 0x7FFE);
             EXPECT_TRUE(read[0x7FFF]->IsKindOf(RUNTIME_CLASS(CTestDerived)));
             EXPECT_EQ(static_cast<CTestPoint*>(read[0x8000])->m_x, 200);
             EXPECT_EQ(read[0x8001], read[0x7FFC]);
             EXPECT_EQ(read[0x8002], read[0x7FFD]);
             EXPECT_EQ(read[0x8003], read[0x7FFF]);
             EXPECT_EQ(owned.objects.size(), 0x7FFFu + 2);
         });
}

TEST(ArchiveObjects, VersionableClassesSeeTheSchemaTheFileGives)
{
    CTestNamed named;
    named.m_name = "now";
    named.m_count = 9;
    Load(Store([&](CArchive& ar) { ar << &named; }),
         [](CArchive& ar)
         {
             Owned owned;
             auto* back =
                 static_cast<CTestNamed*>(owned.Keep(ar.ReadObject(RUNTIME_CLASS(CTestNamed))));
             EXPECT_EQ(back->m_schema, 3u);
             EXPECT_EQ(back->m_secondSchema, static_cast<UINT>(-1)); // once per Serialize
             EXPECT_EQ(back->m_count, 9);
         });

    // Two objects of the old schema 1; the second comes through a class reference and must see
    // the file's schema too.
    Bytes old = NewClass(1, "CTestNamed");
    Append(old, B({0x03, 'o', 'l', 'd', 0x01, 0x80, 0x00}));
    Load(old,
         [](CArchive& ar)
         {
             Owned owned;
             auto* a = static_cast<CTestNamed*>(owned.Keep(ar.ReadObject(nullptr)));
             auto* b = static_cast<CTestNamed*>(owned.Keep(ar.ReadObject(nullptr)));
             EXPECT_EQ(a->m_schema, 1u);
             EXPECT_EQ(a->m_name, CString("old"));
             EXPECT_EQ(a->m_count, -1);
             EXPECT_EQ(b->m_schema, 1u);
             EXPECT_TRUE(b->m_name.IsEmpty());
         });

    // A class that is not versionable refuses any other schema.
    Bytes wrong = NewClass(2, "CTestPoint");
    Append(wrong, Point(0, 0));
    EXPECT_EQ(ArchiveCause([&] { Load(wrong, [](CArchive& ar) { ar.ReadObject(nullptr); }); }),
              CArchiveException::badSchema);
}

int ReadCause(const Bytes& bytes, const CRuntimeClass* expected = nullptr, int objects = 1)
{
    return ArchiveCause(
        [&]
        {
            Load(bytes,
                 [&](CArchive& ar)
                 {
                     Owned owned;
                     for (int i = 0; i < objects; ++i)
                     {
                         owned.Keep(ar.ReadObject(expected));
                     }
                 });
        });
}

TEST(ArchiveObjects, CorruptTagsAndClassesAreRejectedWithTheFrameworkCause)
{
    Bytes onePoint = NewClass(1, "CTestPoint");
    Append(onePoint, Point(1, 1));
    auto then = [&](const Bytes& more)
    {
        Bytes bytes = onePoint;
        Append(bytes, more);
        return bytes;
    };

    EXPECT_EQ(ReadCause(onePoint), kNoException);
    EXPECT_EQ(ReadCause(NewClass(1, "CNoSuchClass")), CArchiveException::badClass);
    EXPECT_EQ(ReadCause(NewClass(1, std::string(64, 'A'))), CArchiveException::badClass);
    EXPECT_EQ(ReadCause(B({0xFF, 0xFF, 0x01, 0x00, 0x0A, 0x00, 'C', 'T'})),
              CArchiveException::badClass); // the name is cut short
    EXPECT_EQ(ReadCause(NewClass(0xFFFF, "CTestDynamicOnly")), CArchiveException::badClass);
    EXPECT_EQ(ReadCause(NewClass(1, "CTestDynamicOnly")), CArchiveException::badSchema);
    EXPECT_EQ(ReadCause(onePoint, RUNTIME_CLASS(CTestDerived)), CArchiveException::badClass);
    // Asking for a class that has no schema is a programming error, as in the framework.
    EXPECT_EQ(ReadCause(onePoint, RUNTIME_CLASS(CObject)), kOtherException);
    EXPECT_EQ(ReadCause(B({0x00, 0x80})), CArchiveException::badIndex); // class 0
    EXPECT_EQ(ReadCause(B({0x05, 0x80})), CArchiveException::badIndex); // unknown class
    EXPECT_EQ(ReadCause(B({0x09, 0x00})), CArchiveException::badIndex); // unknown object
    EXPECT_EQ(ReadCause(B({0xFF, 0x7F, 0x09, 0x00, 0x00, 0x80})), CArchiveException::badIndex);
    EXPECT_EQ(ReadCause(then(B({0x02, 0x80})), nullptr, 2), CArchiveException::badIndex);
    EXPECT_EQ(ReadCause(then(B({0x01, 0x00})), nullptr, 2), CArchiveException::badIndex);
    EXPECT_EQ(ReadCause(then(B({0x02, 0x00})), RUNTIME_CLASS(CTestPoint), 2), kNoException);
    EXPECT_EQ(ReadCause(then(B({0x02, 0x00})), RUNTIME_CLASS(CTestDerived), 1),
              CArchiveException::badClass);

    // A derived object satisfies a request for its base.
    Bytes derived = NewClass(1, "CTestDerived");
    Append(derived, Point(2, 2));
    EXPECT_EQ(ReadCause(derived, RUNTIME_CLASS(CTestPoint)), kNoException);

    // Classes without a schema cannot be written.
    CTestDynamicOnly dynamicOnly;
    EXPECT_EQ(ArchiveCause([&] { Store([&](CArchive& ar) { ar << &dynamicOnly; }); }),
              kOtherException);
}

// Eight points (indices 2 to 9); the first and the sixth are forgotten, the first long after it
// was read. References to them fail, references to the others still find them.
TEST(ArchiveObjects, ForgottenObjectsCannotBeReferencedAgain)
{
    Bytes points = NewClass(1, "CTestPoint");
    Append(points, Point(0, 0));
    for (LONG i = 1; i < 8; ++i)
    {
        Append(points, B({0x01, 0x80}));
        Append(points, Point(i, i));
    }
    for (const BYTE reference : std::initializer_list<BYTE>{2, 7, 3, 9})
    {
        Bytes bytes = points;
        Append(bytes, B({reference, 0x00}));
        const int cause = ArchiveCause(
            [&]
            {
                Load(bytes,
                     [&](CArchive& ar)
                     {
                         Owned owned;
                         std::vector<CObject*> read;
                         for (int i = 0; i < 8; ++i)
                             read.push_back(owned.Keep(ar.ReadObject(nullptr)));
                         ar.UnmapObject(read[0]);
                         ar.UnmapObject(read[5]);
                         EXPECT_EQ(ar.ReadObject(nullptr), read[reference - 2]);
                     });
            });
        EXPECT_EQ(cause,
                  reference == 2 || reference == 7 ? CArchiveException::badIndex : kNoException)
            << int(reference);
    }
}

TEST(ArchiveObjects, ClassesAndMappedObjectsShareTheIndexSequence)
{
    CTestPoint point(4, 4);
    CTestPoint premapped(0, 0);
    const Bytes written = Store(
        [&](CArchive& ar)
        {
            ar.MapObject(&premapped);                     // index 1
            ar.WriteClass(RUNTIME_CLASS(CTestPoint));     // index 2
            ar.SerializeClass(RUNTIME_CLASS(CTestPoint)); // a reference now
            ar.WriteObject(&point);                       // class reference, index 3
            ar.WriteObject(&premapped);
        });
    Bytes expected = B({0xFF, 0xFF, 0x01, 0x00, 0x0A, 0x00});
    AppendText(expected, "CTestPoint");
    Append(expected, B({0x02, 0x80, 0x02, 0x80}));
    Append(expected, Point(4, 4));
    Append(expected, B({0x01, 0x00}));
    EXPECT_EQ(written, expected);

    Load(written,
         [&](CArchive& ar)
         {
             CTestPoint mine;
             ar.MapObject(&mine);
             UINT schema = 0;
             EXPECT_EQ(ar.ReadClass(nullptr, &schema), RUNTIME_CLASS(CTestPoint));
             EXPECT_EQ(schema, 1u);
             ar.SerializeClass(RUNTIME_CLASS(CTestPoint));
             EXPECT_EQ(ar.GetObjectSchema(), 1u);
             std::unique_ptr<CObject> read(ar.ReadObject(RUNTIME_CLASS(CTestPoint)));
             EXPECT_EQ(static_cast<CTestPoint*>(read.get())->m_x, 4);
             EXPECT_EQ(ar.ReadObject(nullptr), &mine);
         });
    // A class read where an object reference stands is a bad index without an object tag.
    EXPECT_EQ(ArchiveCause(
                  [] {
                      Load(B({0x01, 0x00}), [](CArchive& ar) { ar.ReadClass(); });
                  }),
              CArchiveException::badIndex);
}

// Reads objects until the data ends, the way a reader of an untrusted file would.
void ReadAll(CArchive& ar)
{
    Owned owned;
    for (int i = 0; i < 64; ++i)
    {
        owned.Keep(ar.ReadObject(nullptr));
    }
}

TEST(ArchiveObjects, TruncatedObjectStreamsFailCleanly)
{
    CTestBag bag;
    bag.m_points.emplace_back(1, 2);
    bag.m_points.emplace_back(3, 4);
    CTestNamed named;
    named.m_name = "named";
    CTestDerived derived(5, 6);
    const Bytes whole = Store(
        [&](CArchive& ar)
        {
            ar << &bag << &named << &derived << &derived << &bag;
            ar << static_cast<CObject*>(nullptr);
        });
    for (size_t cut = 0; cut < whole.size(); ++cut)
    {
        const Bytes part(whole.begin(), whole.begin() + static_cast<long>(cut));
        const int cause = ArchiveCause([&] { Load(part, ReadAll); });
        EXPECT_TRUE(cause == CArchiveException::endOfFile || cause == CArchiveException::badClass)
            << "cut at " << cut << " cause " << cause;
    }
}

} // namespace
