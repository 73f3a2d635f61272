#include <cstdint>
#include <shared/positioning/NGpsToOSGrid.h>

// The scrambling routines exported beside the conversions; nothing in the library calls them.

namespace NGpsToOSGrid
{

namespace
{
constexpr std::uint32_t kTeaDelta = 0x9E3779B9u;       // TEA key schedule constant
constexpr std::uint32_t kTeaDecipherSum = 0xC6EF3720u; // kTeaDelta * 32 mod 2^32
constexpr int kTeaRounds = 32;

std::uint32_t Word(unsigned long v)
{
    return static_cast<std::uint32_t>(v & 0xFFFFFFFFul);
}

// The block and key as 32-bit words: the interface passes unsigned long, 64 bits on Linux.
struct TeaState
{
    std::uint32_t y, z, k0, k1, k2, k3;

    TeaState(unsigned long const* in, unsigned long const* key)
        : y(Word(in[0])), z(Word(in[1])), k0(Word(key[0])), k1(Word(key[1])), k2(Word(key[2])),
          k3(Word(key[3]))
    {
    }
};
} // namespace

void TEAencipher(unsigned long const* in, unsigned long* out, unsigned long const* key)
{
    if (in == nullptr || out == nullptr || key == nullptr)
        return;
    TeaState t(in, key);
    std::uint32_t sum = 0;
    for (int r = 0; r < kTeaRounds; ++r)
    {
        sum += kTeaDelta;
        t.y += ((t.z << 4) + t.k0) ^ (t.z + sum) ^ ((t.z >> 5) + t.k1);
        t.z += ((t.y << 4) + t.k2) ^ (t.y + sum) ^ ((t.y >> 5) + t.k3);
    }
    out[0] = t.y;
    out[1] = t.z;
}

void TEAdecipher(unsigned long const* in, unsigned long* out, unsigned long const* key)
{
    if (in == nullptr || out == nullptr || key == nullptr)
        return;
    TeaState t(in, key);
    std::uint32_t sum = kTeaDecipherSum;
    for (int r = 0; r < kTeaRounds; ++r)
    {
        t.z -= ((t.y << 4) + t.k2) ^ (t.y + sum) ^ ((t.y >> 5) + t.k3);
        t.y -= ((t.z << 4) + t.k0) ^ (t.z + sum) ^ ((t.z >> 5) + t.k1);
        sum -= kTeaDelta;
    }
    out[0] = t.y;
    out[1] = t.z;
}

namespace
{
void ShiftCharacters(char const* in, char* out, int length, int direction)
{
    if (in == nullptr || out == nullptr || length < 1)
        return;
    for (int i = 0; i < length - 1; ++i)
    {
        auto const amount = static_cast<unsigned>((i & 255) + 2);
        auto const c = static_cast<unsigned char>(in[i]);
        out[i] = static_cast<char>(static_cast<unsigned char>(
            direction > 0 ? c + amount : c - amount)); // 8-bit wrap-around
    }
    out[length - 1] = '\0';
}
} // namespace

void CEAencipher(char const* in, char* out, int length)
{
    ShiftCharacters(in, out, length, +1);
}

void CEAdecipher(char const* in, char* out, int length)
{
    ShiftCharacters(in, out, length, -1);
}

} // namespace NGpsToOSGrid
