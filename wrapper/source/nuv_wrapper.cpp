#include "wrapper/nuv_wrapper.h"

#include "core/lut/nuv_lutdata.h"
#include "framework/base/nuv_held.h"
#include "framework/containers/nuv_vector.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"
#include "framework/manager/nuv_createmanager.h"

#include <cstddef>

// The records and the class cross the boundary of the library as memory, so their layout is fixed.
static_assert(offsetof(ImageParam, bits) == 8);
static_assert(offsetof(ImageParam, format) == 16);
static_assert(offsetof(ImageParam, is_jfif) == 28);
static_assert(sizeof(void*) != 8 || offsetof(LutParam, reserved) == 16);

namespace {

// Steps an engine to its end, and ends it.
void run(nuv::NUV_Engine* engine)
{
    while (engine->execute()) {
    }
    engine->end();
}

void end_luts(nuv::NUV_Vector<nuv::NUV_LutData*>* luts)
{
    if (!luts)
        return;
    for (nuv::NUV_LutData* lut : luts->items()) {
        if (lut)
            lut->end();
    }
    luts->clear();
}

template <class T>
nuv::NUV_Vector<T>* make_vector(nuv::NUV_Manager* manager)
{
    return manager ? nuv::make_object<nuv::NUV_Vector<T>>(*manager).release() : nullptr;
}

} // namespace

NuvWrapperClass::NuvWrapperClass()
    : manager(nuv::create_manager(0)),
      last_engine(nullptr),
      branches(make_vector<nuv::NUV_Engine*>(manager)),
      src_storage(nullptr),
      dst_storage(nullptr),
      lut_objects(make_vector<nuv::NUV_LutData*>(manager))
{}

NuvWrapperClass::~NuvWrapperClass()
{
    try {
        if (branches) {
            branches->clear(); // the relation ends the engines
            branches->end();
        }
        end_luts(lut_objects);
        if (lut_objects)
            lut_objects->end();
        if (dst_storage)
            dst_storage->end();
        if (src_storage)
            src_storage->end();
        if (manager)
            manager->clear();
        nuv::destroy_manager(manager);
    } catch (...) {
        // There is nobody left to tell.
    }
}

int NuvWrapperClass::Execute()
{
    int result = 0;
    try {
        if (branches && !branches->empty()) {
            // One after the other: the blocks wait in the shared buffer for the later ones.
            for (std::size_t i = 0; i < branches->size(); ++i) {
                if (nuv::NUV_Engine* branch = (*branches)[i])
                    run(branch);
            }
        } else if (last_engine) {
            run(last_engine);
        } else {
            result = -1;
        }
        if (result == 0)
            end_luts(lut_objects);
    } catch (...) {
        result = -1;
    }
    // What ran is gone, and what broke off belongs to the relation.
    last_engine = nullptr;
    if (branches)
        branches->clear();
    return result;
}
