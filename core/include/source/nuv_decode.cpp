#include "core/include/nuv_decode.h"

namespace nuv {

NUV_Engine* NUV_Decode::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, method_))
        return nullptr;
    const bool is_done = previous->header()->encode_type() == delivers_;
    return is_done ? previous : append_decoder(*previous);
}

} // namespace nuv
