#include <Kest/Resource.hpp>

#include <utility>

namespace Kest {
namespace {

// Never destroyed: hosts load resources until their last static is gone.
ResourceProvider& GetProvider() {
    static auto* const provider = new ResourceProvider;
    return *provider;
}

}   // namespace

void SetResourceProvider(ResourceProvider provider) {
    GetProvider() = std::move(provider);
}

char** LoadResource(std::int64_t module, unsigned int type, short number) noexcept {
    try {
        const ResourceProvider& provider = GetProvider();
        return provider ? provider(module, type, number) : nullptr;
    } catch (...) {   // a host's failure is a resource that is not there
        return nullptr;
    }
}

}   // namespace Kest
