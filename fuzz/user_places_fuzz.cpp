// Reads arbitrary bytes as a UserPlaces.dat file: the read must fail cleanly or succeed, never
// crash, hang or leak, and a failed read must leave the collection as it was.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <shared/foundation/CLog.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/HostHooks.h>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string path = "/tmp/user-places-fuzz-" + std::to_string(getpid());
    static const bool configured = []
    {
        // The reader logs every failure; the log's own file handling is not under test here
        // and would dominate each run.
        CLog::SetLogFileName("/dev/null");
        // Every symbol message must name a live place.
        shared::platform::SetMainWindowSink(
            [](unsigned, std::uintptr_t place, std::intptr_t)
            { (void)reinterpret_cast<const CUserPlace*>(place)->GetMapLabelText().GetLength(); });
        return true;
    }();
    (void)configured;
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);

    CUserPlaceCollection places;
    CUserPlace keep;
    keep.SetMapLabelText("keep");
    places.AddUserPlace(Cint64(0, 1), keep);
    places.SetLastUpdatedTime(COleDateTime(2.0));
    if (!places.ReadCollection(path.c_str()) &&
        (places.GetNumberInCollection() != 1 || places.GetLastUpdatedTime().m_dt != 2.0 ||
         places.GetGeofenceName(Cint64(0, 1)) != CString("keep")))
        std::abort();
    places.GotoStart();
    while (CUserPlace* place = places.GetNext())
        (void)place->IsGeofenceSMSSendRequired(COleDateTime(45000.5));
    return 0;
}
