#include "common/ModuleState.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <utility>

namespace quillmark {
namespace {

using Services::ServicesCollection;

struct ServicesState {
    std::mutex lock;
    std::shared_ptr<ServicesCollection> services;
};

// Made on first use and never destroyed: client objects may outlive the static objects of the process. It needs no
// memory of the heap, so that installing services cannot fail.
ServicesState& State() noexcept {
    alignas(ServicesState) static std::byte storage[sizeof(ServicesState)];
    static ServicesState& state = *new (storage) ServicesState;
    return state;
}

template <typename Seam>
void Fill(std::shared_ptr<Seam>& member) {
    if (member == nullptr) {
        member = std::make_shared<Seam>();
    }
}

// Under the services lock.
ServicesCollection& EnsureServices(ServicesState& state) {
    Fill(state.services);
    Fill(state.services->fileSystem);
    Fill(state.services->registry);
    Fill(state.services->winHttp);
    return *state.services;
}

template <typename Seam>
std::shared_ptr<Seam> CopyOf(std::shared_ptr<Seam> ServicesCollection::*member) {
    ServicesState& state = State();
    const std::scoped_lock guard(state.lock);
    return EnsureServices(state).*member;
}

}  // namespace

void InstallServices(std::shared_ptr<ServicesCollection> services) noexcept {
    ServicesState& state = State();
    {
        const std::scoped_lock guard(state.lock);
        state.services.swap(services);
    }
    // The previous collection is released here, with its seams' destructors outside the lock.
}

std::shared_ptr<FileSystemInterface> FileSystem() {
    return CopyOf(&ServicesCollection::fileSystem);
}

std::shared_ptr<RegistryInterface> Registry() {
    return CopyOf(&ServicesCollection::registry);
}

std::shared_ptr<WinHttpInterface> WinHttp() {
    return CopyOf(&ServicesCollection::winHttp);
}

}  // namespace quillmark
