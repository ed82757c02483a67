#include "windows_bridge/first_picture.h"

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mftransform.h>
#include <wmcodecdsp.h>

#include "windows_bridge/com_calls.h"
#include "windows_bridge/file_source.h"

namespace windows_bridge
{

namespace
{

// The decoder, with a sample that takes a picture of at most BYTES.
class CDecoder
{
public:
    explicit CDecoder(IMFMediaType* pInputType)
    {
        Check(CoCreateInstance(CLSID_CMSH264DecoderMFT, nullptr, CLSCTX_INPROC_SERVER, IID_IMFTransform,
                               reinterpret_cast<void**>(&m_pDecoder)),
              "CoCreateInstance");
        Check(m_pDecoder->SetInputType(0, pInputType, 0), "IMFTransform::SetInputType");
        TakeOutputType();
        Check(m_pDecoder->ProcessMessage(MFT_MESSAGE_NOTIFY_BEGIN_STREAMING, 0), "IMFTransform::ProcessMessage");
        IMFMediaBuffer* pBuffer = nullptr;
        Check(MFCreateMemoryBuffer(BYTES, &pBuffer), "MFCreateMemoryBuffer");
        Check(MFCreateSample(&m_pPicture), "MFCreateSample");
        Check(m_pPicture->AddBuffer(pBuffer), "IMFSample::AddBuffer");
        Release(&pBuffer);
    }
    ~CDecoder()
    {
        Release(&m_pPicture);
        Release(&m_pDecoder);
    }
    CDecoder(const CDecoder&) = delete;
    CDecoder& operator=(const CDecoder&) = delete;

    // Whether the decoder has a picture after this sample.
    bool Decode(IMFSample* pSample)
    {
        Check(m_pDecoder->ProcessInput(0, pSample, 0), "IMFTransform::ProcessInput");
        HRESULT hr = ProcessOutput();
        if (hr == MF_E_TRANSFORM_STREAM_CHANGE)
        {
            TakeOutputType();
            hr = ProcessOutput();
        }
        if (hr == MF_E_TRANSFORM_NEED_MORE_INPUT) return false;
        Check(hr, "IMFTransform::ProcessOutput");
        return true;
    }

private:
    static constexpr DWORD BYTES = 1 << 20;

    void TakeOutputType()
    {
        IMFMediaType* pType = nullptr;
        Check(m_pDecoder->GetOutputAvailableType(0, 0, &pType), "IMFTransform::GetOutputAvailableType");
        const HRESULT hr = m_pDecoder->SetOutputType(0, pType, 0);
        Release(&pType);
        Check(hr, "IMFTransform::SetOutputType");
    }
    HRESULT ProcessOutput()
    {
        MFT_OUTPUT_DATA_BUFFER data = {};
        data.pSample = m_pPicture;
        DWORD dwStatus = 0;
        return m_pDecoder->ProcessOutput(0, 1, &data, &dwStatus);
    }

    IMFTransform* m_pDecoder = nullptr;
    IMFSample* m_pPicture = nullptr;
};

}  // namespace

int SamplesUntilThePicture(const std::filesystem::path& path)
{
    CFileSource source(path);
    IMFMediaType* pType = source.GetType();
    CDecoder decoder(pType);
    Release(&pType);
    source.Start(0);
    for (int nSamples = 1;; ++nSamples)
    {
        source.RequestSample(nullptr);
        IMFSample* pSample = source.AwaitSample();
        const bool bPicture = decoder.Decode(pSample);
        Release(&pSample);
        if (bPicture) return nSamples;
    }
}

}  // namespace windows_bridge
