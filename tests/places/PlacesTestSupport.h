#pragma once

// Helpers for the tests of sets, set collections and user places: a scratch folder, a builder
// that assembles archive bytes by hand from the file format (never with the archive code under
// test), a recording slot, and a fixed clock.

#include "../archive/ArchiveTestSupport.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <shared/comms/CBaseSlot2.h>
#include <shared/foundation/Cint64.h>
#include <shared/platform/SystemTime.h>
#include <string>
#include <utility>
#include <vector>

using archive_test::Bytes;
using archive_test::ScratchFolder;

// Little-endian archive bytes, written field by field.
class ArchiveBytes
{
public:
    ArchiveBytes& U8(unsigned value)
    {
        m_bytes.push_back(static_cast<unsigned char>(value));
        return *this;
    }
    ArchiveBytes& U16(unsigned value) { return U8(value & 0xFF).U8((value >> 8) & 0xFF); }
    ArchiveBytes& U32(std::uint32_t value) { return U16(value & 0xFFFF).U16(value >> 16); }
    ArchiveBytes& I32(std::int32_t value) { return U32(static_cast<std::uint32_t>(value)); }
    ArchiveBytes& Double(double value)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return U32(static_cast<std::uint32_t>(bits)).U32(static_cast<std::uint32_t>(bits >> 32));
    }
    ArchiveBytes& Raw(const std::string& text)
    {
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return *this;
    }
    // A string with the framework's length prefix.
    ArchiveBytes& String(const std::string& text)
    {
        if (text.size() < 0xFF)
            U8(static_cast<unsigned>(text.size()));
        else if (text.size() < 0xFFFE)
            U8(0xFF).U16(static_cast<unsigned>(text.size()));
        else
            U8(0xFF).U16(0xFFFF).U32(static_cast<std::uint32_t>(text.size()));
        return Raw(text);
    }
    // An identifier: high part first, each part little-endian.
    ArchiveBytes& Id(std::uint32_t high, std::uint32_t low) { return U32(high).U32(low); }
    ArchiveBytes& Date(double days, std::int32_t status = 0) { return I32(status).Double(days); }
    // The tag of a class met for the first time.
    ArchiveBytes& NewClass(unsigned schema, const std::string& name)
    {
        return U16(0xFFFF).U16(schema).U16(static_cast<unsigned>(name.size())).Raw(name);
    }
    ArchiveBytes& ClassRef(unsigned index) { return U16(0x8000 | index); }
    ArchiveBytes& Append(const ArchiveBytes& more)
    {
        m_bytes.insert(m_bytes.end(), more.m_bytes.begin(), more.m_bytes.end());
        return *this;
    }

    const Bytes& Get() const { return m_bytes; }

private:
    Bytes m_bytes;
};

// Records every (id, change) pair it is sent.
class RecordingSlot : public CBaseSlot2<const Cint64, const char>
{
public:
    bool Invoke(const Cint64 id, const char change) override
    {
        calls.emplace_back(id, change);
        return true;
    }
    std::vector<std::pair<Cint64, char>> calls;
};

// Day 45000.5 of the framework's calendar: 2023-03-15 12:00:00, a whole second, so that dates
// read back from the clock compare exactly.
constexpr double kFixedDay = 45000.5;

// Holds both the UTC and the local clock at kFixedDay for the lifetime of the object.
class FixedClock
{
public:
    FixedClock() : m_source((45000LL - 25569LL) * 86400000LL + 43200000LL, 0), m_use(m_source) {}
    shared::platform::CManualSystemTimeSource& Source() { return m_source; }

private:
    shared::platform::CManualSystemTimeSource m_source;
    shared::platform::CScopedSystemTimeSource m_use;
};
