#include <cstdio>
#include <shared/foundation/CFileVersion.h>
#include <string>

namespace
{

unsigned Hi(DWORD word)
{
    return static_cast<unsigned>(word >> 16);
}

unsigned Lo(DWORD word)
{
    return static_cast<unsigned>(word & 0xFFFFu);
}

} // namespace

CFileVersion::CFileVersion() = default;

CFileVersion::~CFileVersion() = default;

bool CFileVersion::Open(LPCTSTR path)
{
    Close();
    auto data = shared::platform::ReadVersionResource(path);
    if (!data)
        return false;
    const auto translations = shared::platform::ReadTranslations(*data);
    if (translations.empty())
        return false;
    m_lpVersionData = std::make_shared<const std::vector<std::uint8_t>>(std::move(*data));
    m_dwLangCharset = translations.front();
    return true;
}

void CFileVersion::Close()
{
    m_lpVersionData.reset();
    m_dwLangCharset = 0;
}

CString CFileVersion::QueryValue(LPCTSTR name, unsigned long translation) const
{
    if (!m_lpVersionData || name == nullptr)
        return CString();
    const unsigned long chosen = translation != 0 ? translation : m_dwLangCharset;
    char table[16];
    std::snprintf(table, sizeof table, "%08lx", chosen & 0xFFFFFFFFUL);
    const std::string path = std::string("\\StringFileInfo\\") + table + "\\" + name;
    const auto value = shared::platform::QueryVersionValue(*m_lpVersionData, path);
    if (!value)
        return CString();
    const std::string text = shared::platform::VersionValueText(*value);
    return CString(std::string_view(text));
}

bool CFileVersion::GetFixedInfo(VS_FIXEDFILEINFO& info) const
{
    if (!m_lpVersionData)
        return false;
    const auto fixed = shared::platform::ReadFixedFileInfo(*m_lpVersionData);
    if (!fixed)
        return false;
    info = *fixed;
    return true;
}

CString CFileVersion::GetFixedFileVersion() const
{
    CString text;
    VS_FIXEDFILEINFO info{};
    if (GetFixedInfo(info))
        text.Format("%u,%u,%u,%u", Hi(info.dwFileVersionMS), Lo(info.dwFileVersionMS),
                    Hi(info.dwFileVersionLS), Lo(info.dwFileVersionLS));
    return text;
}

CString CFileVersion::GetFixedProductVersion() const
{
    CString text;
    VS_FIXEDFILEINFO info{};
    if (!GetFixedInfo(info))
        return text;
    const DWORD ms = info.dwProductVersionMS;
    const DWORD ls = info.dwProductVersionLS;
    // A release is a beta exactly when the fourth part of its product version is not 0.
    if (Lo(ls) != 0)
        text.Format("%u.%u.%u Beta %u", Hi(ms), Lo(ms), Hi(ls), Lo(ls));
    else
        text.Format("%u.%u.%u", Hi(ms), Lo(ms), Hi(ls));
    return text;
}

CString CFileVersion::GetFixedBuildVersion() const
{
    CString text;
    VS_FIXEDFILEINFO info{};
    if (GetFixedInfo(info))
        text.Format("%u.%u", Hi(info.dwProductVersionMS), Lo(info.dwProductVersionMS));
    return text;
}
