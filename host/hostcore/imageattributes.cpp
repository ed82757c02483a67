// The shape of a picture sequence.
#include "hostapi/hostcore.h"

SQmImageAttributes::SQmImageAttributes()
    : m_uiWidth(0),
      m_uiWidthBytes(0),
      m_uiHeight(0),
      m_uiComponents(0),
      m_uiBitsInMemory(0),
      m_uiBitsSignificant(0),
      m_uiReservedAttr(0),
      m_uiSequenceCount(0),
      m_uiTileWidth(0),
      m_uiTileHeight(0),
      m_uiCompression(0),
      m_dCompressionParam(0.0)
{}
