// An H.264 encoder without compression: intra pictures of I_PCM macroblocks, which hold their samples as they are.
#pragma once

#include "runtimes/common/picture_encoder.h"

namespace runtimes
{

// High profile, CAVLC, one slice a picture, no filter. What a decoder gives is the NV12 picture that was put in. A
// picture that isn't wanted as an IDR picture becomes an I picture, and a reference. Packets come at once, in the order
// of the pictures, and their bytes depend on settings and pictures alone.
class PcmEncoder final : public PictureEncoder
{
public:
    // A level that is asked for stands in the stream as it is. Throws EncoderError for a size that is 0 or odd, and a
    // picture rate that is 0.
    explicit PcmEncoder(const StreamSettings& settings);

    const std::vector<std::uint8_t>& Headers() const override { return m_headers; }
    std::uint32_t PictureDelay() const override { return 0; }
    std::optional<Packet> Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info) override;
    std::optional<Packet> Drain() override { return std::nullopt; }

private:
    void WriteSlice(const Nv12View& picture, bool bIdr);
    void WriteSamples(const Nv12View& picture, std::uint32_t uiColumn, std::uint32_t uiRow);

    const StreamSettings m_settings;
    const std::vector<std::uint8_t> m_headers;
    std::vector<std::uint8_t> m_slice;
    std::uint32_t m_uiFrameNumber = 0;  // pictures since the last IDR picture
    std::uint32_t m_uiIdrNumber = 0;
    bool m_bFirst = true;
};

}  // namespace runtimes
