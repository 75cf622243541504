#ifndef TAVPLATFORM_SERVICE_SLOT_H
#define TAVPLATFORM_SERVICE_SLOT_H

#include <memory>

namespace tavplatform
{

// Where a platform service lives: the implementation installed at run time (a test double, for
// instance), else the default one, made on first use and kept for the process.
template <typename Service> class ServiceSlot
{
public:
    using Factory = std::unique_ptr<Service> (*)();

    // `factory` makes the default service, on the first get() that needs it.
    explicit ServiceSlot(Factory factory) : factory_(factory) {}

    // The installed service, else the default one (the slot owns the default).
    Service& get()
    {
        if (installed_)
            return *installed_;
        if (!default_)
            default_ = factory_();
        return *default_;
    }

    // Installs `service` (not owned; null goes back to the default) and returns the one replaced.
    Service* install(Service* service)
    {
        Service* previous = installed_;
        installed_ = service;
        return previous;
    }

private:
    Factory factory_;
    std::unique_ptr<Service> default_;
    Service* installed_ = nullptr;
};

// Installs a service for the life of a scope, then puts back the one it replaced.
template <typename Service, Service* (*Install)(Service*)> class ScopedService
{
public:
    // `service` stays the caller's and must outlive the scope.
    explicit ScopedService(Service* service) : previous_(Install(service)) {}
    ~ScopedService() { Install(previous_); }
    ScopedService(const ScopedService&) = delete;
    ScopedService& operator=(const ScopedService&) = delete;

private:
    Service* previous_;
};

} // namespace tavplatform

#endif
