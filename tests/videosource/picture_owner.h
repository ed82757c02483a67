// What a media source gets its pictures from.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include "support/bytes.h"

// One picture of 4 x 2 pixels, handed over as the writer does it.
class CPictureOwner
{
public:
    static constexpr std::uint32_t WIDTH = 4;
    static constexpr std::uint32_t HEIGHT = 2;
    static constexpr std::uint32_t PICTURE_BYTES = 16;

    CPictureOwner();
    ~CPictureOwner();
    CPictureOwner(const CPictureOwner&) = delete;
    CPictureOwner& operator=(const CPictureOwner&) = delete;

    // A picture that has the number in each of its bytes. dDuration is in milliseconds.
    void HandOver(std::uint8_t uiNumber, double dDuration = 1.0);
    static Bytes PictureOf(std::uint8_t uiNumber) { return Bytes(PICTURE_BYTES, uiNumber); }
    // Ends the input and wakes the source, without the lock.
    void GiveUp();

    bool IsReady() const;
    // Whether the last picture was taken; it isn't after that.
    bool TakeTaken();

    HANDLE m_hFrameReady;
    HANDLE m_hFrameTaken;
    CRITICAL_SECTION m_csPicture;
    Bytes m_vPicture;
    double m_dDuration = 1.0;
    std::atomic<std::uint32_t> m_nEndOfInput{0};
};
