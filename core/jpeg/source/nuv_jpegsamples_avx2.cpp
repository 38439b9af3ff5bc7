#include "core/jpeg/source/nuv_jpegsamples.h"

#if NUV_X86

namespace nuv {

void set_avx2_sample_forms(NUV_JPEGSampleForms& /*forms*/) noexcept {}

} // namespace nuv

#endif // NUV_X86
