#include "runtimes/common/x264_encoder.h"

#include "runtimes/common/x264_nal.h"

namespace runtimes
{
namespace
{

// The parameter record, with what x264 itself allocates in it.
class ParamRecord
{
public:
    explicit ParamRecord(const X264Settings& settings)
    {
        if (x264_param_default_preset(&m_param, settings.preset.c_str(), nullptr) < 0)
        {
            throw EncoderError("no such preset");
        }
        for (const auto& [name, value] : settings.options)
        {
            if (x264_param_parse(&m_param, name.c_str(), value.c_str()) != 0)
            {
                x264_param_cleanup(&m_param);
                throw EncoderError("no such option: " + name + "=" + value);
            }
        }
    }
    ~ParamRecord() { x264_param_cleanup(&m_param); }
    ParamRecord(const ParamRecord&) = delete;
    ParamRecord& operator=(const ParamRecord&) = delete;

    x264_param_t* Get() { return &m_param; }
    x264_param_t* operator->() { return &m_param; }

private:
    x264_param_t m_param;
};

int X264Type(PictureKind eKind)
{
    switch (eKind)
    {
    case PictureKind::P:
        return X264_TYPE_P;
    case PictureKind::I:
        return X264_TYPE_I;
    case PictureKind::Idr:
        return X264_TYPE_IDR;
    case PictureKind::Auto:
    case PictureKind::B:
        break;
    }
    return X264_TYPE_AUTO;
}

PictureKind KindOf(int nX264Type)
{
    switch (nX264Type)
    {
    case X264_TYPE_IDR:
        return PictureKind::Idr;
    case X264_TYPE_I:
        return PictureKind::I;
    case X264_TYPE_P:
        return PictureKind::P;
    case X264_TYPE_B:
    case X264_TYPE_BREF:
        return PictureKind::B;
    default:
        return PictureKind::Auto;
    }
}

bool IsParameterSet(const x264_nal_t& nal)
{
    return nal.i_type == NAL_SPS || nal.i_type == NAL_PPS;
}

bool IsSlice(const x264_nal_t& nal)
{
    return nal.i_type == NAL_SLICE || nal.i_type == NAL_SLICE_IDR;
}

}  // namespace

X264Encoder::X264Encoder(const StreamSettings& stream, const X264Settings& settings) : m_when(stream.headers)
{
    ParamRecord param(settings);
    param->i_width = static_cast<int>(stream.uiWidth);
    param->i_height = static_cast<int>(stream.uiHeight);
    param->i_csp = X264_CSP_NV12;
    param->b_annexb = 1;
    param->b_repeat_headers = 1;
    param->i_log_level = X264_LOG_NONE;
    if (!settings.profile.empty() && x264_param_apply_profile(param.Get(), settings.profile.c_str()) < 0)
    {
        throw EncoderError("the profile hasn't what the options ask for");
    }
    m_pEncoder.reset(x264_encoder_open(param.Get()));
    if (!m_pEncoder)
    {
        throw EncoderError("x264 refuses these settings");
    }

    x264_nal_t* pNals = nullptr;
    int nNals = 0;
    if (x264_encoder_headers(m_pEncoder.get(), &pNals, &nNals) < 0)
    {
        throw EncoderError("x264 gives no parameter sets");
    }
    for (int i = 0; i < nNals; ++i)
    {
        if (IsParameterSet(pNals[i]))
        {
            AppendNal(m_headers, pNals[i]);
        }
    }
}

std::uint32_t X264Encoder::PictureDelay() const
{
    return static_cast<std::uint32_t>(x264_encoder_maximum_delayed_frames(m_pEncoder.get()));
}

std::optional<Packet> X264Encoder::Encode(const Nv12View& picture, PictureKind eKind, const PictureInfo& info)
{
    x264_picture_t in;
    x264_picture_init(&in);
    in.i_type = X264Type(eKind);
    in.i_pts = m_nextNumber;
    in.img.i_csp = X264_CSP_NV12;
    in.img.i_plane = 2;
    in.img.plane[0] = picture.pLuma;
    in.img.plane[1] = picture.pChroma;
    in.img.i_stride[0] = static_cast<int>(picture.uiLumaPitch);
    in.img.i_stride[1] = static_cast<int>(picture.uiChromaPitch);
    m_inFlight.emplace(m_nextNumber, info);
    ++m_nextNumber;
    return Run(&in);
}

std::optional<Packet> X264Encoder::Drain()
{
    while (x264_encoder_delayed_frames(m_pEncoder.get()) > 0)
    {
        if (std::optional<Packet> packet = Run(nullptr))
        {
            return packet;
        }
    }
    return std::nullopt;
}

std::optional<Packet> X264Encoder::Run(x264_picture_t* pIn)
{
    x264_nal_t* pNals = nullptr;
    int nNals = 0;
    x264_picture_t out;
    const int nBytes = x264_encoder_encode(m_pEncoder.get(), &pNals, &nNals, pIn, &out);
    if (nBytes < 0)
    {
        throw EncoderError("x264 couldn't encode a picture");
    }
    return nBytes == 0 ? std::nullopt : std::optional(MakePacket(pNals, nNals, out));
}

Packet X264Encoder::MakePacket(const x264_nal_t* pNals, int nNals, const x264_picture_t& out)
{
    Packet packet;
    const auto it = m_inFlight.find(out.i_pts);
    if (it != m_inFlight.end())
    {
        packet.info = it->second;
        m_inFlight.erase(it);
    }
    packet.eKind = KindOf(out.i_type);

    bool bHeadersDue = m_when.AreDue(packet.eKind, m_bFirstPacket, packet.info);
    for (int i = 0; i < nNals; ++i)
    {
        const x264_nal_t& nal = pNals[i];
        if (IsParameterSet(nal) || IsSignature(nal))
        {
            continue;
        }
        // They stand before everything of the picture but the delimiter, which stands first of all.
        if (bHeadersDue && nal.i_type != NAL_AUD)
        {
            packet.bytes.insert(packet.bytes.end(), m_headers.begin(), m_headers.end());
            bHeadersDue = false;
        }
        if (IsSlice(nal))
        {
            packet.sliceOffsets.push_back(static_cast<std::uint32_t>(packet.bytes.size()));
        }
        AppendNal(packet.bytes, nal);
    }
    m_bFirstPacket = false;
    return packet;
}

}  // namespace runtimes
