#include "support/sha256.h"

#include <array>
#include <bit>
#include <cstdio>

namespace test_support
{

namespace
{

// FIPS 180-4: the first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::uint32_t g_auiRounds[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using State = std::array<std::uint32_t, 8>;

void AddBlock(State& state, const std::uint8_t* pBlock)
{
    std::uint32_t auiWords[64];
    for (std::size_t ui = 0; ui < 16; ++ui)
    {
        const std::uint8_t* const p = pBlock + 4 * ui;
        auiWords[ui] = std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
    }
    for (std::size_t ui = 16; ui < 64; ++ui)
    {
        const std::uint32_t uiFar = auiWords[ui - 15];
        const std::uint32_t uiNear = auiWords[ui - 2];
        auiWords[ui] = auiWords[ui - 16] + (std::rotr(uiFar, 7) ^ std::rotr(uiFar, 18) ^ (uiFar >> 3)) +
                       auiWords[ui - 7] + (std::rotr(uiNear, 17) ^ std::rotr(uiNear, 19) ^ (uiNear >> 10));
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t ui = 0; ui < 64; ++ui)
    {
        const std::uint32_t uiFirst = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                      ((e & f) ^ (~e & g)) + g_auiRounds[ui] + auiWords[ui];
        const std::uint32_t uiSecond =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + uiFirst;
        d = c;
        c = b;
        b = a;
        a = uiFirst + uiSecond;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (std::size_t ui = 0; ui < state.size(); ++ui)
        state[ui] += added[ui];
}

}  // namespace

std::string Sha256(const Bytes& bytes)
{
    State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    Bytes padded = bytes;
    padded.push_back(0x80);
    while (padded.size() % 64 != 56)
        padded.push_back(0);
    const std::uint64_t ui64Bits = std::uint64_t{bytes.size()} * 8;
    for (int nShift = 56; nShift >= 0; nShift -= 8)
        padded.push_back(static_cast<std::uint8_t>(ui64Bits >> nShift));
    for (std::size_t ui = 0; ui < padded.size(); ui += 64)
        AddBlock(state, &padded[ui]);

    std::string strDigits;
    for (const std::uint32_t uiWord : state)
    {
        char szWord[9];
        std::snprintf(szWord, sizeof szWord, "%08x", static_cast<unsigned>(uiWord));
        strDigits += szWord;
    }
    return strDigits;
}

}  // namespace test_support
