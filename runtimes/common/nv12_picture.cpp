#include "runtimes/common/nv12_picture.h"

#include <new>

namespace runtimes
{
namespace
{

constexpr std::align_val_t c_alignment{64};

}  // namespace

void Nv12Picture::Free::operator()(std::uint8_t* p) const
{
    ::operator delete[](p, c_alignment);
}

Nv12Picture::Nv12Picture(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const std::size_t uiPitch = (std::size_t{uiWidth} + 63) / 64 * 64;
    const std::size_t uiLuma = uiPitch * uiHeight;
    m_pBytes.reset(static_cast<std::uint8_t*>(::operator new[](uiLuma + uiLuma / 2, c_alignment)));
    m_view = {m_pBytes.get(), m_pBytes.get() + uiLuma, uiPitch, uiPitch};
}

std::unique_ptr<Nv12Picture> Nv12Pool::Take()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_free.empty())
        {
            auto pPicture = std::move(m_free.back());
            m_free.pop_back();
            return pPicture;
        }
    }
    return std::make_unique<Nv12Picture>(m_uiWidth, m_uiHeight);
}

void Nv12Pool::Return(std::unique_ptr<Nv12Picture> pPicture)
{
    const std::lock_guard lock(m_mutex);
    m_free.push_back(std::move(pPicture));
}

}  // namespace runtimes
