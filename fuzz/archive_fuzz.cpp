// Feeds arbitrary bytes to a load archive: once as a stream of objects (with nested objects,
// class references and back-references), once as a stream of primitive values. Every outcome
// must be a value or a framework exception; never a crash, a leak or a read past the data.
#include <cstddef>
#include <cstdint>
#include <set>
#include <shared/archive/CArchive.h>
#include <shared/framework/CFile.h>
#include <shared/framework/COleDateTime.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

class CFuzzPoint : public CObject
{
    DECLARE_SERIAL(CFuzzPoint)

public:
    virtual void Serialize(CArchive& ar)
    {
        if (ar.IsLoading())
        {
            ar >> m_x >> m_name;
        }
    }
    LONG m_x = 0;
    CString m_name;
};
IMPLEMENT_SERIAL(CFuzzPoint, CObject, VERSIONABLE_SCHEMA | 2)

// Reads points by value and frees each one read, as the library's collections do.
class CFuzzBag : public CObject
{
    DECLARE_SERIAL(CFuzzBag)

public:
    virtual void Serialize(CArchive& ar)
    {
        if (!ar.IsLoading())
        {
            return;
        }
        ar.GetObjectSchema();
        LONG count = 0;
        COleDateTime stamp;
        ar >> count >> stamp;
        for (LONG i = 0; i < count && i < 4096; ++i)
        {
            CObject* read = ar.ReadObject(RUNTIME_CLASS(CFuzzPoint));
            if (read != nullptr)
            {
                // Summed with wrap-around: the values are arbitrary and only keep the read
                // from being optimised away.
                m_total =
                    static_cast<LONG>(static_cast<uint32_t>(m_total) +
                                      static_cast<uint32_t>(static_cast<CFuzzPoint*>(read)->m_x));
                ar.UnmapObject(read);
                delete read;
            }
        }
    }
    LONG m_total = 0;
};
IMPLEMENT_SERIAL(CFuzzBag, CObject, 1)

namespace
{

template <typename Body> void Guarded(const uint8_t* data, size_t size, Body body)
{
    const int fd = ::memfd_create("archive_fuzz", MFD_CLOEXEC);
    if (fd < 0)
    {
        return;
    }
    if (size > 0 && ::write(fd, data, size) != static_cast<ssize_t>(size))
    {
        ::close(fd);
        return;
    }
    ::lseek(fd, 0, SEEK_SET);
    CFile file(fd); // owns and closes the descriptor
    CArchive ar(&file, CArchive::load, 128);
    try
    {
        body(ar);
    }
    catch (CException* e)
    {
        e->Delete();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Guarded(data, size,
            [](CArchive& ar)
            {
                std::set<CObject*> owned;
                try
                {
                    for (int i = 0; i < 256; ++i)
                    {
                        CObject* object = ar.ReadObject(nullptr);
                        if (object != nullptr)
                        {
                            // This loop owns what it reads at the top level; a later
                            // back-reference must not hand the same object to a bag that
                            // frees what it reads.
                            ar.UnmapObject(object);
                            owned.insert(object);
                        }
                    }
                }
                catch (...)
                {
                    for (CObject* object : owned)
                    {
                        delete object;
                    }
                    throw;
                }
                for (CObject* object : owned)
                {
                    delete object;
                }
            });
    Guarded(data, size,
            [](CArchive& ar)
            {
                for (int i = 0; i < 64; ++i)
                {
                    BYTE by;
                    WORD w;
                    DWORD dw;
                    double d;
                    CString text;
                    COleDateTime date;
                    ar >> by >> w >> dw >> d >> text >> date;
                    ar.ReadCount();
                    ar.ReadString(text);
                }
            });
    return 0;
}
