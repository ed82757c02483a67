#include "runtimes/amf/encoder.h"

#include <cwchar>

#include "runtimes/amf/buffer.h"
#include "runtimes/amf/encoder_settings.h"
#include "runtimes/amf/encoder_stream.h"

namespace amfruntime
{
namespace
{

constexpr ComponentCalls c_calls = {
    AMF_CALL_ENCODER_SET_PROPERTY, AMF_CALL_ENCODER_GET_PROPERTY, AMF_CALL_ENCODER_INIT,
    AMF_CALL_ENCODER_REINIT,       AMF_CALL_ENCODER_TERMINATE,    AMF_CALL_ENCODER_DRAIN,
    AMF_CALL_ENCODER_FLUSH,        AMF_CALL_ENCODER_SUBMIT_INPUT, AMF_CALL_ENCODER_QUERY_OUTPUT};

}  // namespace

Encoder::Encoder(Context* pContext) : Component(pContext, EncoderProperties(), c_calls) {}

AMF_RESULT Encoder::GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const
{
    if (!name || !pValue || std::wcscmp(name, AmfEncoderProperty::ExtraData) != 0)
    {
        return Component::GetProperty(name, pValue);
    }
    return Answer(AMF_CALL_ENCODER_GET_PROPERTY, [&] {
        // The streams of an encoder are all made below.
        const auto pStream = std::static_pointer_cast<EncoderStream>(Running());
        if (!pStream)
        {
            return AMF_NOT_FOUND;
        }
        *pValue = {};
        pValue->pInterface = new Buffer(OwnContext().Record(), pStream->Headers());
        pValue->type = AMF_VARIANT_INTERFACE;
        return AMF_OK;
    });
}

std::shared_ptr<ComponentStream> Encoder::MakeStream(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
{
    if (eFormat != AMF_SURFACE_NV12 && eFormat != AMF_SURFACE_BGRA)
    {
        throw InitError(AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    }
    return std::make_shared<EncoderStream>(OwnContext().Record(), MakeEncoderSettings(Values(), nWidth, nHeight),
                                           eFormat);
}

}  // namespace amfruntime
