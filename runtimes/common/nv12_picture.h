// Pictures on their way from the caller's surface to the encoder.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "runtimes/common/colour.h"

namespace runtimes
{

// An NV12 picture of even size with rows that begin where vectors like it.
class Nv12Picture
{
public:
    // Throws std::bad_alloc.
    Nv12Picture(std::uint32_t uiWidth, std::uint32_t uiHeight);

    const Nv12View& View() const { return m_view; }

private:
    struct Free
    {
        void operator()(std::uint8_t* p) const;
    };

    std::unique_ptr<std::uint8_t[], Free> m_pBytes;
    Nv12View m_view;
};

// Gives pictures out and takes them back, so that memory is asked for once per picture in flight. Any thread.
class Nv12Pool
{
public:
    Nv12Pool(std::uint32_t uiWidth, std::uint32_t uiHeight) : m_uiWidth(uiWidth), m_uiHeight(uiHeight) {}

    std::unique_ptr<Nv12Picture> Take();
    void Return(std::unique_ptr<Nv12Picture> pPicture);

private:
    const std::uint32_t m_uiWidth;
    const std::uint32_t m_uiHeight;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Nv12Picture>> m_free;
};

}  // namespace runtimes
