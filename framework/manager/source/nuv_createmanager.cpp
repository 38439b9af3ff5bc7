#include "framework/manager/nuv_createmanager.h"

#include "framework/base/nuv_cpu.h"
#include "framework/manager/nuv_blockworkflow.h"
#include "framework/manager/nuv_firsterrorhandler.h"
#include "framework/manager/nuv_mallocmemorymanager.h"
#include "framework/manager/nuv_managerimpl.h"

#include <cstdlib>
#include <new>

namespace nuv {
namespace {

using Manager = NUV_ManagerImpl<NUV_MallocMemoryManager, NUV_FirstErrorHandler, NUV_BlockWorkflow>;

} // namespace

NUV_Manager* create_manager(int kind)
{
    if (kind != 0)
        return nullptr;
    void* memory = std::malloc(sizeof(Manager));
    if (!memory)
        return nullptr;
    auto* manager = ::new (memory) Manager(NUV_Cpu::current());
    if (manager->is_complete())
        return manager;
    destroy_manager(manager);
    return nullptr;
}

void destroy_manager(NUV_Manager* manager)
{
    if (!manager)
        return;
    void* memory = dynamic_cast<void*>(manager);
    try {
        manager->~NUV_Manager();
    } catch (...) {
        std::free(memory);
        throw;
    }
    std::free(memory);
}

} // namespace nuv
