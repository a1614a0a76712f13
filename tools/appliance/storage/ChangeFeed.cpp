#include "storage/ChangeFeed.h"

#include <algorithm>
#include <chrono>

#include "storage/Ticks.h"

namespace appliance {

namespace {

constexpr std::int64_t MostChanges = 1000;
constexpr std::chrono::milliseconds Patience{200};
constexpr Ticks OldestAge = Ticks{30} * 24 * 3600 * 10'000'000;

struct Batch {
    nlohmann::json contents = nlohmann::json::array();
    std::int64_t from = 0;
    std::int64_t until = 0;
};

std::int64_t NewestChange(Database& database, std::int64_t user) {
    Statement row = database.Prepare("SELECT coalesce(max(id), 0) FROM changes WHERE user = ?");
    row.Bind(user);
    return row.Step() ? row.Integer(0) : 0;
}

std::optional<std::int64_t> PositionOf(Database& database, const Actor& actor) {
    Statement row = database.Prepare("SELECT handed_over FROM change_readers WHERE user = ? AND device = ?");
    row.Bind(actor.user).Bind(actor.device);
    return row.Step() ? std::optional(row.Integer(0)) : std::nullopt;
}

// What others have changed behind that position. The device's own changes are passed over.
Batch ReadBehind(Database& database, const Actor& actor, std::int64_t position) {
    Batch batch;
    batch.from = position;
    batch.until = std::max(position, NewestChange(database, actor.user));
    Statement row = database.Prepare(
        "SELECT id, verb, subject FROM changes WHERE user = ? AND id > ? AND device <> ? AND time > ?"
        " ORDER BY id LIMIT ?");
    row.Bind(actor.user).Bind(position).Bind(actor.device).Bind(CurrentTicks() - OldestAge).Bind(MostChanges);
    while (row.Step()) {
        batch.contents.push_back({{"a", row.Text(1)}, {"m", nlohmann::json::parse(row.Text(2))}});
        if (batch.contents.size() == static_cast<std::size_t>(MostChanges)) {
            batch.until = row.Integer(0);
        }
    }
    return batch;
}

}  // namespace

ChangeFeed::Handover::~Handover() {
    if (!m_complete) {
        m_feed.Abandon(m_actor, m_number);
    }
}

void ChangeFeed::Handover::Complete() {
    m_feed.Complete(m_actor, m_number);
    m_complete = true;
}

void ChangeFeed::Begin(const Actor& actor) {
    if (m_data.Read([&](Database& database) { return PositionOf(database, actor); })) {
        return;
    }
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare(
            "INSERT INTO change_readers (user, device, handed_over)"
            " VALUES (?1, ?2, (SELECT coalesce(max(id), 0) FROM changes WHERE user = ?1)) ON CONFLICT DO NOTHING");
        row.Bind(actor.user).Bind(actor.device);
        row.Run();
    });
}

std::shared_ptr<ChangeFeed::Handover> ChangeFeed::Collect(const Actor& actor) {
    Begin(actor);
    const Reader reader{actor.user, actor.device};
    std::unique_lock lock(m_lock);
    m_settled.wait_for(lock, Patience, [&] { return !m_steps.contains(reader); });
    const auto earlier = m_steps.find(reader);
    Batch batch = m_data.Read([&](Database& database) {
        return ReadBehind(
            database, actor,
            earlier == m_steps.end() ? PositionOf(database, actor).value_or(0) : earlier->second.back().until);
    });
    const std::uint64_t number = ++m_lastNumber;
    if (batch.until > batch.from) {
        m_steps[reader].push_back({number, batch.until, false});
    }
    return std::make_shared<Handover>(*this, actor, number, std::move(batch.contents));
}

void ChangeFeed::Complete(const Actor& actor, std::uint64_t number) {
    const std::lock_guard lock(m_lock);
    const auto found = m_steps.find({actor.user, actor.device});
    if (found == m_steps.end()) {
        return;
    }
    std::list<Step>& steps = found->second;
    for (Step& step : steps) {
        step.complete = step.complete || step.number == number;
    }
    const auto waiting = std::find_if(steps.begin(), steps.end(), [](const Step& step) { return !step.complete; });
    if (waiting == steps.begin()) {
        return;
    }
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("UPDATE change_readers SET handed_over = ? WHERE user = ? AND device = ?");
        row.Bind(std::prev(waiting)->until).Bind(actor.user).Bind(actor.device);
        row.Run();
    });
    steps.erase(steps.begin(), waiting);
    if (steps.empty()) {
        m_steps.erase(found);
        m_settled.notify_all();
    }
}

// Later ones were collected behind it: they do not count either, or its changes would never come.
void ChangeFeed::Abandon(const Actor& actor, std::uint64_t number) {
    const std::lock_guard lock(m_lock);
    const auto found = m_steps.find({actor.user, actor.device});
    if (found == m_steps.end()) {
        return;
    }
    std::list<Step>& steps = found->second;
    steps.erase(std::find_if(steps.begin(), steps.end(), [&](const Step& step) { return step.number == number; }),
                steps.end());
    if (steps.empty()) {
        m_steps.erase(found);
        m_settled.notify_all();
    }
}

void ChangeFeed::DropOld() {
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("DELETE FROM changes WHERE time <= ?");
        row.Bind(CurrentTicks() - OldestAge);
        row.Run();
    });
}

}  // namespace appliance
