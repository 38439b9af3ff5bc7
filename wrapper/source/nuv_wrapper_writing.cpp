#include "core/channel/nuv_selectchannel.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_outputstorage.h"
#include "wrapper/nuv_wrapper.h"
#include "wrapper/source/nuv_wrapper_codes.h"

#include <cstddef>
#include <cstdint>

using nuv::fail;
using nuv::NUV_ColorType;
using nuv::NUV_Engine;
using nuv::NUV_Header;
using nuv::sampling_key;

int NuvWrapperClass::WriteJPEG(WriteJPEGOption* option)
{
    constexpr std::uint32_t default_quality = 75;

    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    nuv::NUV_WriteJPEGOption settings(
        option ? static_cast<std::uint32_t>(option->quality) : default_quality,
        option ? sampling_key(option->sampling) : sampling_key(WriteJPEGOption::eSampling422), 0);
    last_engine = nuv::NUV_WriteJPEG(*manager).engine(last_engine, dst_storage, &settings);
    return 0;
}

int NuvWrapperClass::WriteLosslessJPEG(WriteLosslessJPEGOption* option)
{
    constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    nuv::NUV_WriteLosslessJPEGOption settings(option && option->optimise != 0, no_restarts);
    last_engine = nuv::NUV_WriteLosslessJPEG(*manager).engine(last_engine, dst_storage, &settings);
    return 0;
}

int NuvWrapperClass::WriteStorage(WriteStorageOption*)
{
    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    last_engine = nuv::NUV_WriteStorage(*manager).engine(last_engine, dst_storage, 0, 0, 0, 1);
    return 0;
}

int NuvWrapperClass::WriteStoragePlanar(WriteStorageOption*)
{
    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    if (!branches) { // no place for what would run
        last_engine = nullptr;
        return 0;
    }
    branches->clear();
    const NUV_Header* header = last_engine ? last_engine->header() : nullptr;
    if (!header) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_WriteStorage::engine()");
        return 0;
    }
    auto planes = last_engine->branch(header->channels());
    branches->swap(planes);
    bool any = false;
    for (std::size_t i = 0; i < branches->size(); ++i) {
        NUV_Engine*& branch = (*branches)[i];
        branch = nuv::NUV_SelectChannel(*manager).engine(branch, static_cast<std::uint32_t>(i),
                                                         NUV_ColorType::gray);
        branch = nuv::NUV_WriteStorage(*manager).engine(branch, dst_storage, 0, 0, 0, 1);
        any = any || branch;
    }
    if (!any) { // There is nothing to run, as behind any other write that failed.
        branches->clear();
        last_engine = nullptr;
    }
    return 0;
}
