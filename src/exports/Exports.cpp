// The four functions that the library exports.
#include <memory>
#include <utility>

#include "client/NativeHttp.h"
#include "common/Log.h"
#include "common/ModuleState.h"
#include "quillmark/HttpApi.h"
#include "transport/WinHttpFactory.h"

using quillmark::CNativeHttp;
using quillmark::IQuillmarkHttpAPI;
using quillmark::IWinHttpFactory;
using quillmark::Logger;
using quillmark::LogScope;
using quillmark::WideString;
using quillmark::WinHttpFactory;
namespace LogSource = quillmark::LogSource;
namespace Services = quillmark::Services;

DWORD Init(std::uint64_t loggingContext, std::shared_ptr<Services::ServicesCollection> services) {
    // Opened first, so that the entry is still recorded by the previous context; the exit goes to the new one.
    LogScope::Run("Init", LogSource::QuillmarkHttpExports, [&](const Logger&) {
        quillmark::SetLogContext(loggingContext);
        quillmark::InstallServices(std::move(services));
    });
    return ERROR_SUCCESS;
}

void Exit() {}

IQuillmarkHttpAPI* CreateInstance(const WideString& deviceName) {
    return LogScope::Run("CreateInstance", LogSource::QuillmarkHttpExports, [&](const Logger&) -> IQuillmarkHttpAPI* {
        return new CNativeHttp(deviceName, std::make_shared<WinHttpFactory>());
    });
}

IQuillmarkHttpAPI* CreateInstanceWithFactory(const WideString& deviceName, std::shared_ptr<IWinHttpFactory> factory) {
    return LogScope::Run(
        "CreateInstanceWithFactory", LogSource::QuillmarkHttpExports,
        [&](const Logger&) -> IQuillmarkHttpAPI* { return new CNativeHttp(deviceName, std::move(factory)); });
}
