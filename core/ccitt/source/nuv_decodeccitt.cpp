#include "core/ccitt/nuv_decodeccitt.h"

#include "core/ccitt/source/nuv_decodeccittengine.h"

namespace nuv {

NUV_Engine* NUV_DecodeMH::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMHEngine>(previous);
}

NUV_Engine* NUV_DecodeMR::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMREngine>(previous);
}

NUV_Engine* NUV_DecodeMMR::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMMREngine>(previous);
}

NUV_Engine* NUV_DecodeMHToQDRLE::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMHToQDRLEEngine>(previous);
}

NUV_Engine* NUV_DecodeMRToQDRLE::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMRToQDRLEEngine>(previous);
}

NUV_Engine* NUV_DecodeMMRToQDRLE::append_decoder(NUV_Engine& previous)
{
    return append_coded<NUV_DecodeMMRToQDRLEEngine>(previous);
}

} // namespace nuv
