#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_fileinputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "wrapper/nuv_wrapper.h"

namespace {

// Ends the storage that stands, and puts a new one in its place, or null after a status.
template <class Storage, class Field, class... Args>
void replace(nuv::NUV_Manager* manager, Field*& field, Args... args)
{
    if (field)
        field->end();
    field = manager ? nuv::make_initiated<Storage>(*manager, args...).release() : nullptr;
}

} // namespace

int NuvWrapperClass::SetSrcFile(const char* path)
{
    replace<nuv::NUV_FileInputStorage>(manager, src_storage, path);
    return 0;
}

int NuvWrapperClass::SetDstFile(const char* path)
{
    replace<nuv::NUV_FileOutputStorage>(manager, dst_storage, path);
    return 0;
}

int NuvWrapperClass::SetSrcMemory(const unsigned char* data, int bytes)
{
    replace<nuv::NUV_ByteArrayInputStorage>(manager, src_storage, data, bytes);
    return 0;
}

int NuvWrapperClass::SetDstMemory(unsigned char* data, int bytes)
{
    replace<nuv::NUV_ByteArrayOutputStorage>(manager, dst_storage, data, bytes);
    return 0;
}

int NuvWrapperClass::GetWrittenSize(int* bytes)
{
    if (!bytes)
        return -1;
    *bytes = dst_storage ? dst_storage->size() : 0;
    return dst_storage ? 0 : -1;
}
