#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <shared/archive/CArchive.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CRuntimeClass.h>
#include <thread>
#include <vector>

// Classes in the two styles that application code uses: MFC's plain `virtual` members, and
// modern `override` members. Both must compile cleanly with every compiler of the project.
class CFwShape : public CObject
{
    DECLARE_DYNAMIC(CFwShape)

public:
    virtual int Corners() const = 0;
};

class CFwSquare : public CFwShape
{
    DECLARE_SERIAL(CFwSquare)

public:
    CFwSquare() = default;
    virtual int Corners() const { return 4; }
    virtual void Serialize(CArchive& ar);
};

class CFwPoint : public CObject
{
    DECLARE_DYNCREATE(CFwPoint)

public:
    int Corners() const { return 0; }
    void AssertValid() const override {}
};

class CFwVersioned : public CFwSquare
{
    DECLARE_SERIAL(CFwVersioned)

public:
    int Corners() const override { return 5; }
    void Serialize(CArchive& ar) override { CFwSquare::Serialize(ar); }
};

class CFwThrowing : public CObject
{
    DECLARE_DYNCREATE(CFwThrowing)

protected:
    CFwThrowing() { throw std::bad_alloc(); }
};

IMPLEMENT_DYNAMIC(CFwShape, CObject)
IMPLEMENT_SERIAL(CFwSquare, CFwShape, 1)
IMPLEMENT_DYNCREATE(CFwPoint, CObject)
IMPLEMENT_SERIAL(CFwVersioned, CFwSquare, 6 | VERSIONABLE_SCHEMA)
IMPLEMENT_DYNCREATE(CFwThrowing, CObject)

void CFwSquare::Serialize(CArchive& ar)
{
    CObject::Serialize(ar);
}

TEST(CRuntimeClassTest, DescribesNameSizeSchemaAndBase)
{
    const CRuntimeClass* square = RUNTIME_CLASS(CFwSquare);
    EXPECT_STREQ(square->m_lpszClassName, "CFwSquare");
    EXPECT_EQ(square->m_wSchema, 1u);
    EXPECT_EQ(square->m_pBaseClass, RUNTIME_CLASS(CFwShape));
    EXPECT_EQ(RUNTIME_CLASS(CFwShape)->m_pBaseClass, RUNTIME_CLASS(CObject));
    EXPECT_EQ(RUNTIME_CLASS(CObject)->m_pBaseClass, nullptr);
    EXPECT_EQ(RUNTIME_CLASS(CFwVersioned)->m_wSchema, 6u | 0x80000000u);
    EXPECT_EQ(RUNTIME_CLASS(CFwPoint)->m_wSchema, 0xFFFFu);
}

TEST(CRuntimeClassTest, DerivationAndKindQueries)
{
    CFwVersioned v;
    const CObject& asObject = v;
    EXPECT_EQ(asObject.GetRuntimeClass(), RUNTIME_CLASS(CFwVersioned));
    EXPECT_TRUE(asObject.IsKindOf(RUNTIME_CLASS(CFwSquare)));
    EXPECT_TRUE(asObject.IsKindOf(RUNTIME_CLASS(CFwShape)));
    EXPECT_TRUE(asObject.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(asObject.IsKindOf(RUNTIME_CLASS(CFwPoint)));
    EXPECT_FALSE(asObject.IsKindOf(nullptr));
    EXPECT_TRUE(asObject.IsSerializable());

    CFwPoint point;
    EXPECT_FALSE(point.IsSerializable());
    EXPECT_FALSE(RUNTIME_CLASS(CFwShape)->IsDerivedFrom(RUNTIME_CLASS(CFwSquare)));
}

TEST(CRuntimeClassTest, CreatesObjectsByClassAndByName)
{
    std::unique_ptr<CObject> square(RUNTIME_CLASS(CFwSquare)->CreateObject());
    ASSERT_NE(square, nullptr);
    EXPECT_EQ(square->GetRuntimeClass(), RUNTIME_CLASS(CFwSquare));
    EXPECT_EQ(static_cast<CFwShape*>(square.get())->Corners(), 4);

    std::unique_ptr<CObject> byName(CRuntimeClass::CreateObject("CFwVersioned"));
    ASSERT_NE(byName, nullptr);
    EXPECT_EQ(static_cast<CFwShape*>(byName.get())->Corners(), 5);

    EXPECT_EQ(RUNTIME_CLASS(CFwShape)->CreateObject(), nullptr); // abstract: no creator
    EXPECT_EQ(CRuntimeClass::CreateObject("NoSuchClass"), nullptr);
    EXPECT_EQ(CRuntimeClass::CreateObject(nullptr), nullptr);
    EXPECT_EQ(RUNTIME_CLASS(CFwThrowing)->CreateObject(), nullptr); // allocation failure
}

TEST(CRuntimeClassTest, RegistryFindsEveryImplementedClassFromAnyThread)
{
    EXPECT_EQ(CRuntimeClass::FromName("CFwSquare"), RUNTIME_CLASS(CFwSquare));
    EXPECT_EQ(CRuntimeClass::FromName("CFwPoint"), RUNTIME_CLASS(CFwPoint));
    EXPECT_EQ(CRuntimeClass::FromName("CObject"), RUNTIME_CLASS(CObject));
    EXPECT_EQ(CRuntimeClass::FromName("cfwsquare"), nullptr); // names are case-sensitive
    EXPECT_EQ(CRuntimeClass::FromName(nullptr), nullptr);

    std::vector<int> found(4, 0);
    std::vector<std::thread> threads;
    for (int& hits : found)
        threads.emplace_back(
            [&hits]
            {
                for (int i = 0; i < 500; ++i)
                    hits += CRuntimeClass::FromName("CFwVersioned") == RUNTIME_CLASS(CFwVersioned);
            });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(found, std::vector<int>(4, 500));
}

TEST(CRuntimeClassTest, RegistrationEndsWithItsRegistrar)
{
    static CRuntimeClass transient = {"CFwTransient", 1, 0xFFFF, nullptr, RUNTIME_CLASS(CObject)};
    {
        const AFX_CLASSINIT registrar(&transient);
        EXPECT_EQ(CRuntimeClass::FromName("CFwTransient"), &transient);
    }
    EXPECT_EQ(CRuntimeClass::FromName("CFwTransient"), nullptr);
}

TEST(CRuntimeClassTest, DynamicDowncastChecksTheRuntimeClass)
{
    CFwVersioned v;
    CFwPoint point;
    CObject* asObject = &v;
    EXPECT_EQ(DYNAMIC_DOWNCAST(CFwSquare, asObject), &v);
    EXPECT_EQ(DYNAMIC_DOWNCAST(CFwVersioned, asObject), &v);
    CObject* other = &point;
    EXPECT_EQ(DYNAMIC_DOWNCAST(CFwSquare, other), nullptr);
    EXPECT_EQ(DYNAMIC_DOWNCAST(CFwSquare, static_cast<CObject*>(nullptr)), nullptr);
    EXPECT_EQ(STATIC_DOWNCAST(CFwPoint, other), &point);
}
