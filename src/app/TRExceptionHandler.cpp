#include "app/TRExceptionHandler.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <QString>
#include <QtGlobal>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

namespace {

std::atomic<bool> gInstalled{false};
QtMessageHandler gPreviousMessageHandler = nullptr;

std::string demangled(const std::type_info& type) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return status == 0 && name ? std::string(name.get()) : std::string(type.name());
}

// The what() of a thrown object when it is a std::exception, found the way a
// catch clause would find it.
std::string reasonOf(const std::type_info* thrownType, void* thrownObject) {
    void* adjusted = thrownObject;
    if (thrownType && typeid(std::exception).__do_catch(thrownType, &adjusted, 1)) {
        return static_cast<const std::exception*>(adjusted)->what();
    }
    return {};
}

[[noreturn]] void abortWith(const char* how, const std::string& type, const std::string& reason) {
    std::fprintf(stderr, "vorlix-helper: %s %s: %s; aborting\n", how, type.c_str(),
                 reason.c_str());
    std::fflush(stderr);
    std::abort();
}

void onTerminate() {
    std::string type = "(no exception)";
    std::string reason;
    if (const std::exception_ptr current = std::current_exception()) {
        try {
            std::rethrow_exception(current);
        } catch (const std::exception& error) {
            type = demangled(typeid(error));
            reason = error.what();
        } catch (...) {
            type = "(unknown exception)";
        }
    }
    abortWith("uncaught exception", type, reason);
}

void onMessage(QtMsgType kind, const QMessageLogContext& context, const QString& message) {
    if (gPreviousMessageHandler) gPreviousMessageHandler(kind, context, message);
    else if (kind == QtFatalMsg) std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    if (kind == QtFatalMsg) {
        std::fflush(stderr);
        std::abort();
    }
}

}  // namespace

namespace TRExceptionHandler {

bool isBenign(const std::type_info& type, const std::string& reason) {
    return reason == "optimistic locking failure" || type == typeid(TRAccessibilityError) ||
           type == typeid(std::out_of_range);
}

void install() {
    if (gInstalled.exchange(true)) return;
    std::set_terminate(onTerminate);
    gPreviousMessageHandler = qInstallMessageHandler(onMessage);
}

}  // namespace TRExceptionHandler

// Every throw in the helper's own code passes through here before the
// runtime looks for a handler, so a caught exception is judged too.
namespace __cxxabiv1 {
extern "C" void __cxa_throw(void* object, std::type_info* type, void (*destructor)(void*)) {
    using Throw = void (*)(void*, std::type_info*, void (*)(void*));
    static const Throw realThrow = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
    if (gInstalled.load(std::memory_order_relaxed) && type) {
        const std::string reason = reasonOf(type, object);
        if (!TRExceptionHandler::isBenign(*type, reason)) {
            abortWith("exception", demangled(*type), reason);
        }
    }
    realThrow(object, type, destructor);
    std::abort();  // the runtime's throw never returns
}
}  // namespace __cxxabiv1
