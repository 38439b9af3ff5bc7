#include "framework/manager/nuv_createmanager.h"

#include "framework/base/nuv_cpu.h"
#include "framework/manager/nuv_blockworkflow.h"
#include "framework/manager/nuv_countedmemorymanager.h"
#include "framework/manager/nuv_firsterrorhandler.h"
#include "framework/manager/nuv_mallocmemorymanager.h"
#include "framework/manager/nuv_managerimpl.h"

#include <cstdlib>
#include <new>

namespace nuv {
namespace {

template <class MemoryManager>
using Manager = NUV_ManagerImpl<MemoryManager, NUV_FirstErrorHandler, NUV_BlockWorkflow>;

template <class MemoryManager, class... Memory>
[[nodiscard]] NUV_Manager* make_manager(NUV_Watch* watch, Memory&... memory_policy)
{
    void* memory = std::malloc(sizeof(Manager<MemoryManager>));
    if (!memory)
        return nullptr;
    auto* manager = ::new (memory) Manager<MemoryManager>(NUV_Cpu::current(), memory_policy...);
    manager->watched_by(watch);
    if (manager->is_complete())
        return manager;
    destroy_manager(manager);
    return nullptr;
}

} // namespace

NUV_Manager* create_manager(int kind)
{
    return kind == 0 ? make_manager<NUV_MallocMemoryManager>(nullptr) : nullptr;
}

NUV_Manager* create_manager(NUV_MemoryCount& count, NUV_Watch* watch)
{
    return make_manager<NUV_CountedMemoryManager>(watch, count);
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
