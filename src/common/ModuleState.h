// The state of the module: the services collection, beside the logging context (Log.h). One each per process.
//
// Every single platform call takes its seam anew:
//
//   const BOOL closed = WinHttp()->WinHttpCloseHandle(handle);
//
// The copy keeps the seam alive for the length of the call, so that a host may install other services while calls are
// in flight; the next call uses the new ones. Do not keep what these functions return.
//
// All functions may be called from any thread at any time, also while the process ends: the state is never destroyed.
#pragma once

#include <memory>

#include "common/Log.h"
#include "quillmark/Services.h"

namespace quillmark {

// Replaces the collection; the previous one is released after that, outside the services lock. Null takes the
// collection away, so that the next use of a seam starts with an empty one.
void InstallServices(std::shared_ptr<Services::ServicesCollection> services) noexcept;

// Makes sure, under the services lock, that there is a collection and that it has all its members: each empty one (in
// the order file system, registry, WinHTTP) is filled with the plain seam, in the collection itself. Returns a copy of
// the member. Throws std::bad_alloc only.
[[nodiscard]] std::shared_ptr<FileSystemInterface> FileSystem();
[[nodiscard]] std::shared_ptr<RegistryInterface> Registry();
[[nodiscard]] std::shared_ptr<WinHttpInterface> WinHttp();

}  // namespace quillmark
