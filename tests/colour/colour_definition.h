// A second definition of the colour conversions, to which the tests compare the module. Single-precision results are
// computed in double precision: the product of two floats is exact in a double, and the sum of two, rounded to a double
// and then to a float, is the float sum.
#pragma once

#include <cstddef>
#include <cstdint>

inline float Mul(float fA, float fB)
{
    return static_cast<float>(static_cast<double>(fA) * static_cast<double>(fB));
}

inline float Add(float fA, float fB)
{
    return static_cast<float>(static_cast<double>(fA) + static_cast<double>(fB));
}

inline float Sub(float fA, float fB)
{
    return static_cast<float>(static_cast<double>(fA) - static_cast<double>(fB));
}

inline std::uint8_t Limit(float fValue)
{
    const int nWhole = static_cast<int>(fValue);  // toward zero
    return static_cast<std::uint8_t>(nWhole < 0 ? 0 : nWhole > 255 ? 255 : nWhole);
}

// B, G, R of one triple.
struct SBgr
{
    std::uint8_t m_b, m_g, m_r;
};

inline SBgr DefinedBgr(unsigned uiY, unsigned uiU, unsigned uiV)
{
    const float fY = Mul(Sub(static_cast<float>(uiY), 16.0F), 1.164F);
    const float fU = static_cast<float>(static_cast<int>(uiU) - 128);
    const float fV = static_cast<float>(static_cast<int>(uiV) - 128);
    return {Limit(Add(Mul(fU, 2.017F), fY)), Limit(Sub(Sub(fY, Mul(fV, 0.813F)), Mul(fU, 0.392F))),
            Limit(Add(Mul(fV, 1.596F), fY))};
}

// The part of one pixel in its pair.
struct SPixelTerms
{
    SPixelTerms(unsigned uiB, unsigned uiG, unsigned uiR)
    {
        const float fB = static_cast<float>(uiB);
        const float fG = static_cast<float>(uiG);
        const float fR = static_cast<float>(uiR);
        m_bY = Limit(Add(Add(Add(Mul(fG, 0.504F), Mul(fR, 0.257F)), Mul(fB, 0.098F)), 16.0F));
        m_fU = Add(Add(Sub(Mul(fR, -0.148F), Mul(fG, 0.291F)), Mul(fB, 0.439F)), 128.0F);
        m_fV = Add(Sub(Sub(Mul(fR, 0.439F), Mul(fG, 0.368F)), Mul(fB, 0.071F)), 128.0F);
    }

    std::uint8_t m_bY;
    float m_fU;
    float m_fV;
};

// The second pixel's chroma counts as an integer of 8 bits.
inline std::uint8_t DefinedMean(float fFirst, float fSecond)
{
    const int nSecond = static_cast<int>(fSecond) & 0xFF;
    return Limit(Mul(Add(static_cast<float>(nSecond), fFirst), 0.5F));
}
