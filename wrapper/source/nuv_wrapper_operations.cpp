#include "core/colorspace/nuv_colorspace.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "wrapper/nuv_wrapper.h"
#include "wrapper/source/nuv_wrapper_codes.h"

using nuv::fail;
using nuv::NUV_Engine;
using nuv::NUV_Header;
using nuv::NUV_Held;

int NuvWrapperClass::MirrorX()
{
    if (manager)
        last_engine = nuv::NUV_MirrorX(*manager).engine(last_engine);
    return 0;
}

int NuvWrapperClass::Rotate90(int angle)
{
    if (manager)
        last_engine = nuv::NUV_Rotate90(*manager).engine(last_engine, angle);
    return 0;
}

int NuvWrapperClass::ScaleNN(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleNN(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleLI(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleLI(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleCC(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleCC(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScalePP(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScalePP(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleI2VAREx(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleI2VARExBy<nuv::NUV_FixedReal>(*manager).engine(last_engine,
                                                                                   width, height);
    return 0;
}

int NuvWrapperClass::LUT(LutParam* param)
{
    if (!manager)
        return 0;
    const NUV_Header* header = last_engine ? last_engine->header() : nullptr;
    NUV_Held<nuv::NUV_LutData> table;
    if (param)
        table = nuv::expand_lut(*manager, header, param->table, param->entries, param->bits);
    else
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_Lut::engine()");
    NUV_Engine* engine = nullptr;
    if (table && lut_objects && lut_objects->push_back(table.get())) {
        const nuv::NUV_LutData* kept = table.release(); // until the run is over
        engine = nuv::NUV_Lut(*manager).engine(last_engine, kept);
    }
    last_engine = engine;
    return 0;
}

int NuvWrapperClass::ConvertDataType(ConvertDataParam* param)
{
    if (!manager)
        return 0;
    if (!param) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_ConvertDataType::engine()");
        last_engine = nullptr;
        return 0;
    }
    last_engine = nuv::NUV_ConvertDataType(*manager).engine(
        last_engine, nuv::NUV_DataType::u_integer, param->bits, param->slope, param->offset);
    return 0;
}

int NuvWrapperClass::ColorSpace(ColorType::eColorType color)
{
    if (manager)
        last_engine = nuv::NUV_ColorSpace(*manager).engine(last_engine, nuv::color_tag(color));
    return 0;
}
