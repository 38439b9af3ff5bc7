#include "core/include/nuv_decode.h"

namespace nuv {

NUV_Engine* NUV_Decode::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, method_))
        return nullptr;
    return previous->header()->is_raw() ? previous : append_decoder(*previous);
}

} // namespace nuv
