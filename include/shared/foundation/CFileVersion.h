#pragma once

#include <cstdint>
#include <memory>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>
#include <shared/platform/VersionResource.h>
#include <vector>

// The version resource of a module file (.exe, .dll): its standard string entries and its fixed
// version numbers formatted as text, including a "Beta" form of the product version.
//
// Typical use:
//
//   CFileVersion version;
//   if (version.Open("Warden.exe"))
//   {
//       CString product = version.GetFixedProductVersion();   // "2.1.0 Beta 3"
//       CString company = version.GetCompanyName();
//       version.Close();
//   }
//
// Texts are returned in the host's narrow encoding (UTF-8 on POSIX hosts). A file without a
// version resource, or one whose resource lacks a translation table, does not open; every query
// on a closed object gives an empty string or false.
class SHARED_API CFileVersion
{
public:
    CFileVersion();
    // Copies share the loaded resource; Close on one of them leaves the others open.
    CFileVersion(CFileVersion const&) = default;
    CFileVersion& operator=(CFileVersion const&) = default;
    // Callers are expected to call Close, as they always had to; the buffer is nevertheless
    // released with the last object that refers to it, so forgetting Close leaks nothing.
    ~CFileVersion();

    // Loads the version resource of the file at path and its first translation. Anything held
    // before is released first. False when the file has no usable resource.
    bool Open(LPCTSTR path);
    void Close();

    // The string entry name of the given translation (language << 16 | code page), or of the
    // file's first translation when translation is 0. Empty when closed or absent.
    CString QueryValue(LPCTSTR name, unsigned long translation = 0) const;

    CString GetFileDescription() const { return QueryValue("FileDescription"); }
    CString GetFileVersion() const { return QueryValue("FileVersion"); }
    CString GetInternalName() const { return QueryValue("InternalName"); }
    CString GetCompanyName() const { return QueryValue("CompanyName"); }
    CString GetLegalCopyright() const { return QueryValue("LegalCopyright"); }
    CString GetOriginalFilename() const { return QueryValue("OriginalFilename"); }
    CString GetProductName() const { return QueryValue("ProductName"); }
    CString GetProductVersion() const { return QueryValue("ProductVersion"); }

    // Copies the fixed-information block; false when closed or when the block is missing.
    bool GetFixedInfo(VS_FIXEDFILEINFO& info) const;

    // "major,minor,build,revision" of the file version; empty when there is no fixed block.
    CString GetFixedFileVersion() const;
    // "major.minor.build", or "major.minor.build Beta revision" when the product version's
    // revision is not 0; empty when there is no fixed block.
    CString GetFixedProductVersion() const;
    // "major.minor" of the product version; empty when there is no fixed block.
    CString GetFixedBuildVersion() const;

private:
    // The whole version resource; null when closed.
    std::shared_ptr<const std::vector<std::uint8_t>> m_lpVersionData;
    // Language in the high 16 bits, code page in the low 16 bits; 0 when closed.
    DWORD m_dwLangCharset = 0;
};
