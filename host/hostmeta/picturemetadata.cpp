// Metadata of one picture.
#include "hostapi/hostmeta.h"

SQmPictureMetadata::SQmPictureMetadata() : m_dTime(-1.0), m_dMeta1(0), m_dMeta2(0.0), m_bMeta3(0) {}

SQmPictureMetadata::~SQmPictureMetadata() = default;
SQmPictureMetadata::SQmPictureMetadata(const SQmPictureMetadata& other) = default;
SQmPictureMetadata& SQmPictureMetadata::operator=(const SQmPictureMetadata& other) = default;

void SQmPictureMetadata::SetToDefault()
{
    *this = SQmPictureMetadata();
}
