// Hands each device what the user's other devices have changed, in order and once.
//
// A device has a position in the user's changes, from its first login on; what was changed before is not news to it.
// The position moves when an answer has been written, and is a row: after a kill a device may be told something again,
// but never misses anything.
//
//     auto handover = feed.Collect(actor);
//     ... write handover->Contents() ...
//     handover->Complete();
//
// A handover that goes without Complete was none: its changes come again. A device that asks while one of its
// handovers is under way waits a moment for what becomes of it: a client sees the end of an answer, or of a connection,
// a little before the server does. Behind one that takes longer, the next one begins where it ends. Safe for every
// thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <utility>

#include "storage/Actor.h"
#include "storage/DataFile.h"

namespace appliance {

class ChangeFeed {
public:
    class Handover {
    public:
        Handover(ChangeFeed& feed, Actor actor, std::uint64_t number, nlohmann::json contents)
            : m_feed(feed), m_actor(std::move(actor)), m_number(number), m_contents(std::move(contents)) {}
        Handover(const Handover&) = delete;
        Handover& operator=(const Handover&) = delete;
        ~Handover();

        // [{"a": verb, "m": subject}, ...]
        [[nodiscard]] const nlohmann::json& Contents() const { return m_contents; }
        void Complete();

    private:
        ChangeFeed& m_feed;
        Actor m_actor;
        std::uint64_t m_number;
        nlohmann::json m_contents;
        bool m_complete = false;
    };

    explicit ChangeFeed(DataFile& data) : m_data(data) {}

    // The device exists from now on, unless it did already.
    void Begin(const Actor& actor);
    // Blocks for the disk, and for a fraction of a second at most for an earlier handover.
    [[nodiscard]] std::shared_ptr<Handover> Collect(const Actor& actor);
    // Changes that no device is told any more, because of their age.
    void DropOld();

private:
    using Reader = std::pair<std::int64_t, std::string>;

    // One that has been collected; the position moves over those at the front that are complete.
    struct Step {
        std::uint64_t number;
        std::int64_t until;
        bool complete;
    };

    void Complete(const Actor& actor, std::uint64_t number);
    void Abandon(const Actor& actor, std::uint64_t number);

    DataFile& m_data;
    std::mutex m_lock;
    std::condition_variable m_settled;
    std::uint64_t m_lastNumber = 0;
    std::map<Reader, std::list<Step>> m_steps;
};

}  // namespace appliance
