// The parts of a reading graph: the source of a file, and the topology from its video stream to a sink.
#pragma once

#include <windows.h>

#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>

// Opens the file at pwszPath as a media source.
HRESULT CreateMediaSource(const wchar_t* pwszPath, IMFMediaSource** ppSource);

// Connects the first selected video stream of the source, or audio stream if bAudio, with the sink. The session inserts
// a decoder between them. Without such a stream the topology is empty, and that is no failure.
//
// ppMpeg2 and ppVideoInfo2, both or neither, get the format block with the picture's size, if there is one. The block
// is never freed. pllDuration, which may be null, gets the length in 100 ns if the source knows it.
HRESULT BuildTopology(bool bAudio, IMFMediaSource* pSource, IMFActivate* pSinkActivate, IMFTopology** ppTopology,
                      const MPEG2VIDEOINFO** ppMpeg2, const VIDEOINFOHEADER2** ppVideoInfo2, LONGLONG* pllDuration);
