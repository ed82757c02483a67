// One MP4 file that the host writes: 24-bit pictures, each with its acquisition time.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"
#include "mp4_outputfile/frametimerule.h"
#include "mp4_outputfile/mediafoundationwriter.h"
#include "mp4_outputfile/nvencwriter.h"

// Makes a reader, without a reference yet, of the file at strPath that is still being written. Null without memory.
using PMakeWrittenFileReader = IQmInputImageFile* (*)(IQmImageFormat* pFormat, const CQmStringW& strPath,
                                                      IQmOutputImageFile* pOutputFile);

// The first frame sets everything up: which encoder writes the file follows from the format object's active codec at
// that moment, and no other takes its place when it fails. The target file is made then, under its final name; if
// writing breaks off, it stays as far as it has got.
//
// A failure of a back end is QM_ERR_FAIL to the host; what NVENC's runtime said of it goes to the diagnostics. One
// thread at a time.
class CQmMP4OutputFile : public IQmOutputImageFile
{
public:
    // With an empty name there is no file to write.
    CQmMP4OutputFile(IQmImageFormat* pFormat, const CQmStringW& strFileName, PMakeWrittenFileReader pfnMakeReader);
    ~CQmMP4OutputFile() override;

    CQmMP4OutputFile(const CQmMP4OutputFile&) = delete;
    CQmMP4OutputFile& operator=(const CQmMP4OutputFile&) = delete;

    std::int32_t AddRef() override;
    std::int32_t Release() override;
    QmStatus CloseOutput() override;
    QmStatus OutputOperationA() override { return QM_OK; }
    QmStatus OutputOperationB() override { return QM_OK; }
    IQmImageFormat* GetFormat() override;
    QmStatus SetPictureMetadata(std::uint32_t uiIndex, const SQmPictureMetadata* pMetadata) override;
    QmStatus OutputOperationC() override { return QM_OK; }
    QmStatus OutputOperationD() override { return QM_ERR_NOTSUPPORTED; }
    QmStatus OutputOperationE() override { return QM_OK; }
    QmStatus OutputOperationF() override { return QM_OK; }
    QmStatus OutputOperationG() override { return QM_OK; }
    QmStatus SetImageAttributes(const SQmImageAttributes* pAttributes) override;
    QmStatus OutputOperationH() override { return QM_OK; }
    QmStatus SetFrameTime(double dTimeMs) override;
    QmStatus OutputOperationI() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationJ() override { return QM_OK; }
    QmStatus OutputOperationK() override { return QM_OK; }
    QmStatus OutputOperationL() override { return QM_ERR_NOTIMPL; }
    QmStatus WriteNextFrame(const void* pPixels) override;
    QmStatus WriteFrame(std::uint32_t uiIndex, const void* pPixels, void* pPass1, void* pPass2) override;
    QmStatus OutputOperationM() override { return QM_ERR_NOTSUPPORTED; }
    QmStatus OutputOperationN() override { return QM_ERR_NOTSUPPORTED; }
    QmStatus OutputOperationO() override { return QM_ERR_NOTSUPPORTED; }
    QmStatus OutputOperationP() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationQ() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationR() override { return QM_ERR_NOTIMPL; }
    QmStatus OutputOperationS() override { return QM_ERR_NOTIMPL; }
    QmStatus GetWrittenFileReader(void* pValue, IQmInputImageFile** ppReader) override;
    QmStatus OutputOperationT() override { return QM_OK; }

protected:
    enum class EBackEnd
    {
        MediaFoundation,
        Amf,
        Nvenc
    };
    EBackEnd GetActiveBackEnd();
    bool IsSetUp() const { return m_bAmf || m_bNvenc || m_mediaFoundation.IsRunning(); }

    // Sets up the back end of the active codec. 0, or whatever value the step that failed gave.
    HRESULT InitEncoder();
    bool AcceptPicture(const void* pPixels);
    QmStatus EncodeFrame(std::uint32_t uiIndex, const void* pPixels);
    QmStatus EncodeWithMediaFoundation(std::uint32_t uiIndex, const void* pPixels);

    CMediaFoundationWriter m_mediaFoundation;
    bool m_bAmf;              // the AMF back end was chosen
    bool m_bNvenc;            // the NVENC back end was chosen
    bool m_bMediaFoundation;  // the Media Foundation back end was; its set-up may have failed
    CNvencWriter m_nvenc;

    std::uint32_t m_nRefCount;         // starts at 0
    std::uint32_t m_nFrameCounter;     // the index that WriteNextFrame passes on
    IQmImageFormat* m_pFormat;         // one reference
    PMakeWrittenFileReader m_pfnMakeReader;
    IQmInputImageFile* m_pReader;      // the reader given out last; stored, not read, and no reference
    CQmStringW m_strFileName;          // empty in the form without a path
    SQmImageAttributes m_attrEncoded;  // the picture as it is encoded: even width and height
    SQmImageAttributes m_attrSource;   // the picture as the host describes it
    std::uint32_t m_uiFileWidth;       // of the encoder's pictures, once it is set up
    std::uint32_t m_uiFileHeight;      //
    bool m_bPictureLost;               // a picture came that the encoder can't take
    bool m_bClosed;                    // CloseOutput was called
    bool m_bFrameTimeSet;              // stored, not read
    SFrameTimes m_times;
};
