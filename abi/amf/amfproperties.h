// The ids of the components and the names of their properties. The name of a constant is the property's own, so a word
// that is spelled oddly is spelled so by the runtime.
//
// The type of a property is the variant's: integers and enumerations travel as AMF_VARIANT_INT64. Properties in the
// groups "of later versions" are those that a runtime of this version may not know: HasProperty answers, and a
// SetProperty of one that fails is no failure.
#pragma once

inline constexpr wchar_t AMFVideoEncoderVCE_AVC[] = L"AMFVideoEncoderVCE_AVC";
inline constexpr wchar_t AMFVideoEncoderVCE_SVC[] = L"AMFVideoEncoderVCE_SVC";  // scalable
inline constexpr wchar_t AMFVideoConverter[] = L"AMFVideoConverter";

// On a context: int64, 0 for the graphics processor, which is the default, 1 for the processor.
inline constexpr wchar_t AMF_CONTEXT_DEVICE_TYPE[] = L"AMF_Context_DeviceType";

// The H.264 encoder: set before Init.
namespace AmfEncoderProperty
{
inline constexpr wchar_t FrameSize[] = L"FrameSize";  // AMFSize
inline constexpr wchar_t FrameRate[] = L"FrameRate";  // AMFRate
inline constexpr wchar_t ExtraData[] = L"ExtraData";  // interface, AMFBuffer; SPS and PPS with start codes, read only
inline constexpr wchar_t Usage[] = L"Usage";  // int64, AMF_VIDEO_ENCODER_USAGE_ENUM; sets all others, so it comes first
inline constexpr wchar_t Profile[] = L"Profile";                // int64, AMF_VIDEO_ENCODER_PROFILE_ENUM
inline constexpr wchar_t ProfileLevel[] = L"ProfileLevel";      // int64; ten times the level
inline constexpr wchar_t MaxOfLTRFrames[] = L"MaxOfLTRFrames";  // int64
inline constexpr wchar_t ScanType[] = L"ScanType";              // int64, AMF_VIDEO_ENCODER_SCANTYPE_ENUM
inline constexpr wchar_t QualityPreset[] = L"QualityPreset";    // int64, AMF_VIDEO_ENCODER_QUALITY_PRESET_ENUM
}  // namespace AmfEncoderProperty

// The H.264 encoder: set at any time.
namespace AmfEncoderProperty
{
inline constexpr wchar_t BPicturesDeltaQP[] = L"BPicturesDeltaQP";                      // int64
inline constexpr wchar_t ReferenceBPicturesDeltaQP[] = L"ReferenceBPicturesDeltaQP";    // int64
inline constexpr wchar_t EnforceHRD[] = L"EnforceHRD";                                  // bool
inline constexpr wchar_t FillerDataEnable[] = L"FillerDataEnable";                      // bool
inline constexpr wchar_t VBVBufferSize[] = L"VBVBufferSize";                            // int64; bits
inline constexpr wchar_t InitialVBVBufferFullness[] = L"InitialVBVBufferFullness";      // int64; 0 empty, 64 full
inline constexpr wchar_t MaxAUSize[] = L"MaxAUSize";                                    // int64; bits
inline constexpr wchar_t MinQP[] = L"MinQP";                                            // int64; 0 to 51
inline constexpr wchar_t MaxQP[] = L"MaxQP";                                            // int64; 0 to 51
inline constexpr wchar_t QPI[] = L"QPI";                                                // int64; 0 to 51
inline constexpr wchar_t QPP[] = L"QPP";                                                // int64; 0 to 51
inline constexpr wchar_t QPB[] = L"QPB";                                                // int64; 0 to 51
inline constexpr wchar_t TargetBitrate[] = L"TargetBitrate";                            // int64; bits per second
inline constexpr wchar_t PeakBitrate[] = L"PeakBitrate";                                // int64; bits per second
inline constexpr wchar_t RateControlSkipFrameEnable[] = L"RateControlSkipFrameEnable";  // bool
inline constexpr wchar_t RateControlMethod[] =
    L"RateControlMethod";  // int64, AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_ENUM
inline constexpr wchar_t HeaderInsertionSpacing[] = L"HeaderInsertionSpacing";  // int64; 0 to 1000
inline constexpr wchar_t BPicturesPattern[] = L"BPicturesPattern";              // int64; B pictures in a row
inline constexpr wchar_t DeBlockingFilter[] = L"DeBlockingFilter";              // bool
inline constexpr wchar_t BReferenceEnable[] = L"BReferenceEnable";              // bool
inline constexpr wchar_t IDRPeriod[] = L"IDRPeriod";                            // int64; pictures
inline constexpr wchar_t IntraRefreshMBsNumberPerSlot[] = L"IntraRefreshMBsNumberPerSlot";    // int64; macroblocks
inline constexpr wchar_t SlicesPerFrame[] = L"SlicesPerFrame";                                // int64
inline constexpr wchar_t HalfPixel[] = L"HalfPixel";                                          // bool
inline constexpr wchar_t QuarterPixel[] = L"QuarterPixel";                                    // bool
inline constexpr wchar_t NumOfTemporalEnhancmentLayers[] = L"NumOfTemporalEnhancmentLayers";  // int64
}  // namespace AmfEncoderProperty

// The H.264 encoder: of several instances.
namespace AmfEncoderProperty
{
inline constexpr wchar_t HDCPCounter[] = L"HDCPCounter";                              // raw pointer
inline constexpr wchar_t EncoderMaxInstances[] = L"EncoderMaxInstances";              // int64
inline constexpr wchar_t MultiInstanceMode[] = L"MultiInstanceMode";                  // bool
inline constexpr wchar_t MultiInstanceCurrentQueue[] = L"MultiInstanceCurrentQueue";  // int64
}  // namespace AmfEncoderProperty

// The H.264 encoder: of later versions.
namespace AmfEncoderProperty
{
inline constexpr wchar_t MaxNumRefFrames[] = L"MaxNumRefFrames";  // int64
inline constexpr wchar_t AspectRatio[] = L"AspectRatio";          // AMFRatio
inline constexpr wchar_t FullRangeColor[] = L"FullRangeColor";    // bool; the input has the full range of values
inline constexpr wchar_t RateControlPreanalysisEnable[] = L"RateControlPreanalysisEnable";  // int64, 0 or 1
inline constexpr wchar_t ColorBitDepth[] = L"ColorBitDepth";                                // int64, 8 or 10
inline constexpr wchar_t InColorProfile[] = L"InColorProfile";    // int64, AMF_VIDEO_CONVERTER_COLOR_PROFILE_ENUM
inline constexpr wchar_t OutColorProfile[] = L"OutColorProfile";  // int64, AMF_VIDEO_CONVERTER_COLOR_PROFILE_ENUM
inline constexpr wchar_t InColorTransferChar[] =
    L"InColorTransferChar";  // int64, AMF_COLOR_TRANSFER_CHARACTERISTIC_ENUM
inline constexpr wchar_t OutColorTransferChar[] =
    L"OutColorTransferChar";                                          // int64, AMF_COLOR_TRANSFER_CHARACTERISTIC_ENUM
inline constexpr wchar_t EncoderMemoryType[] = L"EncoderMemoryType";  // int64, AMF_MEMORY_TYPE
inline constexpr wchar_t EnableVBAQ[] = L"EnableVBAQ";                // bool
inline constexpr wchar_t HighMotionQualityBoostEnable[] = L"HighMotionQualityBoostEnable";  // bool
inline constexpr wchar_t CABACEnable[] = L"CABACEnable";        // int64, 0 by the profile, 1 CABAC, 2 CAVLC
inline constexpr wchar_t InHDRMetadata[] = L"InHDRMetadata";    // interface, AMFBuffer of AMFHDRMetadata
inline constexpr wchar_t OutHDRMetadata[] = L"OutHDRMetadata";  // interface, AMFBuffer of AMFHDRMetadata
}  // namespace AmfEncoderProperty

// Of the surface that an encoder is given, for that picture.
namespace AmfEncoderInput
{
inline constexpr wchar_t EndOfSequence[] = L"EndOfSequence";        // bool
inline constexpr wchar_t EndOfStream[] = L"EndOfStream";            // bool
inline constexpr wchar_t ForcePictureType[] = L"ForcePictureType";  // int64, AMF_VIDEO_ENCODER_PICTURE_TYPE_ENUM
inline constexpr wchar_t InsertAUD[] = L"InsertAUD";                // bool
inline constexpr wchar_t InsertSPS[] = L"InsertSPS";                // bool
inline constexpr wchar_t InsertPPS[] = L"InsertPPS";                // bool
inline constexpr wchar_t PictureStructure[] = L"PictureStructure";  // int64, AMF_VIDEO_ENCODER_PICTURE_STRUCTURE_ENUM
inline constexpr wchar_t MarkCurrentWithLTRIndex[] = L"MarkCurrentWithLTRIndex";      // int64
inline constexpr wchar_t ForceLTRReferenceBitfield[] = L"ForceLTRReferenceBitfield";  // int64
}  // namespace AmfEncoderInput

// Of the buffer that an encoder gives.
namespace AmfEncoderOutput
{
inline constexpr wchar_t OutputDataType[] = L"OutputDataType";  // int64, AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_ENUM
inline constexpr wchar_t MarkedLTRIndex[] = L"MarkedLTRIndex";  // int64
inline constexpr wchar_t ReferencedLTRIndexBitfield[] = L"ReferencedLTRIndexBitfield";  // int64
}  // namespace AmfEncoderOutput

// Of the capabilities of an encoder; ColorConversion is of later versions.
namespace AmfEncoderCaps
{
inline constexpr wchar_t MaxBitrate[] = L"MaxBitrate";                  // int64; bits per second
inline constexpr wchar_t NumOfStreams[] = L"NumOfStreams";              // int64
inline constexpr wchar_t MaxProfile[] = L"MaxProfile";                  // int64, AMF_VIDEO_ENCODER_PROFILE_ENUM
inline constexpr wchar_t MaxLevel[] = L"MaxLevel";                      // int64
inline constexpr wchar_t BFrames[] = L"BFrames";                        // bool
inline constexpr wchar_t MinReferenceFrames[] = L"MinReferenceFrames";  // int64
inline constexpr wchar_t MaxReferenceFrames[] = L"MaxReferenceFrames";  // int64
inline constexpr wchar_t MaxTemporalLayers[] = L"MaxTemporalLayers";    // int64
inline constexpr wchar_t FixedSliceMode[] = L"FixedSliceMode";          // bool
inline constexpr wchar_t NumOfHwInstances[] = L"NumOfHwInstances";      // int64
inline constexpr wchar_t ColorConversion[] = L"ColorConversion";        // int64, AMF_ACCELERATION_TYPE
}  // namespace AmfEncoderCaps

// The converter.
namespace AmfConverterProperty
{
inline constexpr wchar_t OutputFormat[] = L"OutputFormat";        // int64, AMF_SURFACE_FORMAT
inline constexpr wchar_t MemoryType[] = L"MemoryType";            // int64, AMF_MEMORY_TYPE
inline constexpr wchar_t ComputeDevice[] = L"ComputeDevice";      // int64, AMF_MEMORY_TYPE
inline constexpr wchar_t OutputSize[] = L"OutputSize";            // AMFSize; 0, 0 for no scaling
inline constexpr wchar_t OutputRect[] = L"OutputRect";            // AMFRect
inline constexpr wchar_t KeepAspectRatio[] = L"KeepAspectRatio";  // bool
inline constexpr wchar_t Fill[] = L"Fill";                        // bool; fills outside of the rectangle
inline constexpr wchar_t FillColor[] = L"FillColor";              // AMFColor
inline constexpr wchar_t ScaleType[] = L"ScaleType";              // int64, AMF_VIDEO_CONVERTER_SCALE_ENUM
inline constexpr wchar_t ForceOutputSurfaceSize[] =
    L"ForceOutputSurfaceSize";                                          // bool; the size is that of the output surface
inline constexpr wchar_t ColorProfile[] = L"ColorProfile";              // int64, AMF_VIDEO_CONVERTER_COLOR_PROFILE_ENUM
inline constexpr wchar_t LinearRGB[] = L"LinearRGB";                    // bool
inline constexpr wchar_t ColorTransferChar[] = L"ColorTransferChar";    // int64, AMF_COLOR_TRANSFER_CHARACTERISTIC_ENUM
inline constexpr wchar_t DisplayHDRMetadata[] = L"DisplayHDRMetadata";  // interface, AMFBuffer of AMFHDRMetadata
inline constexpr wchar_t UseDecoderHDRMetadata[] = L"UseDecoderHDRMetadata";  // bool
}  // namespace AmfConverterProperty
