// What handlers work with: one of each per server, handed along by reference.
#pragma once

#include <chrono>
#include <functional>

#include "Options.h"

namespace appliance {

class ChangeFeed;
class Contents;
class DataFile;
class DeltaJobs;
class DeltaWorker;
class Faults;
class Outbox;
class Sessions;
class Statistics;
class Store;
class Uploads;
class WorkPool;

struct Services {
    const Options& options;
    DataFile& data;
    Store& store;
    Contents& contents;
    Uploads& uploads;
    DeltaJobs& deltaJobs;
    DeltaWorker& deltaWorker;
    WorkPool& workPool;
    ChangeFeed& changes;
    Outbox& outbox;
    Sessions& sessions;
    Statistics& statistics;
    Faults& faults;
    // Ends the server, connections and all, and starts it anew on the same ports after that time.
    std::function<void(std::chrono::milliseconds)> restart;
};

}  // namespace appliance
