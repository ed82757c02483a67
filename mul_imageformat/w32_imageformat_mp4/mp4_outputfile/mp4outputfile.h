// One MP4 file that the host writes: 24-bit pictures, each with its acquisition time.
#pragma once

#include <cstdint>
#include <memory>

#include "common/modulestate.h"
#include "hostapi/hostcore.h"
#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"
#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/frametimerule.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"

// Makes a reader, without a reference yet, of the file at strPath that is still being written. Null without memory.
using PMakeWrittenFileReader = IQmInputImageFile* (*)(IQmImageFormat* pFormat, const CQmStringW& strPath,
                                                      IQmOutputImageFile* pOutputFile);

// The first frame sets everything up: which encoder writes the file follows from the format object's active codec at
// that moment, and no other takes its place when it fails. The target file is made then, under its final name; if
// writing breaks off, it stays as far as it has got.
//
// A failure of a back end is QM_ERR_FAIL to the host; what NVENC's runtime said of it goes to the diagnostics. One
// thread at a time.
//
// Every frame gets an entry in the list of times, also one that fails. So a picture that is lost ends the file: later
// pictures would get the times of those before them. This holds for the first picture too: when it has no pixels or
// can't be read, the object takes no other one. CloseOutput then finishes the file with the pictures before the lost
// one; a file that ran out of memory, or that couldn't be written, stays unfinished. Two cases are no loss by design: a
// picture that NVENC's session refuses, and an encoder's answer that the back end doesn't look at. Later pictures
// follow then.
class CQmMP4OutputFile : public IQmOutputImageFile
{
public:
    // With an empty name there is no file to write. Throws std::bad_alloc.
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
    enum class EState
    {
        Waiting,  // the next picture sets a back end up
        Writing,
        Lost,  // a picture was lost: no further one is taken
        Closed
    };

    // The back end that the file has, also when its set-up failed.
    bool IsAmf() const { return m_pBackEnd == &FindBackEnd(L"AMF1"); }
    bool IsNvenc() const { return m_pBackEnd == &FindBackEnd(L"NVENC1"); }

    SQmCodecInfo AskForCodec();
    bool AsksForCodec() const;
    HRESULT InitEncoder();
    bool CanBeEncoded(const void* pPixels) const;
    QmStatus EncodeFrame(std::uint32_t uiIndex, const void* pPixels);

    CModuleRuntimeHold m_runtimeHold;  // outlasts the encoder, also when the format object goes first
    EState m_eState;
    const SBackEnd* m_pBackEnd;  // null before the first picture
    CMp4FileWriter m_muxedFile;  // for the back ends that write no file of their own
    std::unique_ptr<IEncoderBackEnd> m_pEncoder;

    std::uint32_t m_nRefCount;      // starts at 0
    std::uint32_t m_nFrameCounter;  // the index that WriteNextFrame passes on
    IQmImageFormat* m_pFormat;      // one reference
    PMakeWrittenFileReader m_pfnMakeReader;
    IQmInputImageFile* m_pReader;      // the reader given out last; stored, not read, and no reference
    CQmStringW m_strFileName;          // empty in the form without a path
    SQmImageAttributes m_attrEncoded;  // the picture as it is encoded: even width and height
    SQmImageAttributes m_attrSource;   // the picture as the host describes it
    std::uint32_t m_uiFileWidth;       // of the encoder's pictures, once a set-up was tried
    std::uint32_t m_uiFileHeight;      //
    bool m_bFrameTimeSet;              // stored, not read
    SFrameTimes m_times;
};
