#include "transfer/TransferPlan.h"

#include <algorithm>
#include <map>
#include <utility>

#include "Paths.h"

namespace quillmark::cli {
namespace {

using Kind = TreeEntry::Kind;

constexpr std::int64_t TicksPerMillisecond = 10'000;

WideString Below(const WideString& folder, const WideString& name) {
    return folder.empty() ? name : JoinPath(folder, name);
}

PlanStep Step(StepKind kind, StepReason reason, const WideString& path, const TreeEntry& entry) {
    PlanStep step;
    step.kind = kind;
    step.reason = reason;
    step.path = path;
    step.folder = entry.kind == Kind::Folder || entry.kind == Kind::FolderLink;
    step.size = step.folder ? 0 : entry.size;
    step.created = entry.created;
    step.modified = entry.modified;
    step.revision = entry.revision;
    step.error = entry.error;
    return step;
}

PlanStep FolderStep(StepKind kind, StepReason reason, const WideString& path, DWORD error = 0) {
    PlanStep step;
    step.kind = kind;
    step.reason = reason;
    step.path = path;
    step.folder = true;
    step.error = error;
    return step;
}

FolderAbilities AbilitiesAt(const PlanOptions& options, const WideString& path) {
    return options.abilities ? options.abilities(path) : FolderAbilities();
}

// A base with another time may be another state: a delta against it would make nonsense of the right size.
bool IsBaseOf(const std::optional<BaseFile>& base, const TreeEntry& item) {
    return base && item.modified.IsSet() && base->size == item.size &&
           base->modified.Ticks() / TicksPerMillisecond == item.modified.Ticks() / TicksPerMillisecond;
}

Method UploadMethod(const PlanOptions& options, const FolderAbilities& abilities, const WideString& path,
                    const TreeEntry& source, const TreeEntry* target) {
    const bool large = source.size >= DeltaSize && target != nullptr && target->size >= DeltaSize;
    if (abilities.delta && large && options.base && IsBaseOf(options.base(path), *target)) {
        return Method::Delta;
    }
    return abilities.resumable && source.size >= ResumableUploadSize ? Method::Resumable : Method::Whole;
}

Method DownloadMethod(const FolderAbilities& abilities, const TreeEntry& source, const TreeEntry* target) {
    const bool older = target != nullptr && target->kind == Kind::File && !IsSameFile(source, *target);
    if (abilities.delta && older && source.size >= DeltaSize && target->size >= DeltaSize) {
        return Method::Delta;
    }
    return source.size >= KeptDownloadSize ? Method::Resumable : Method::Whole;
}

// The step for what is no file and no folder, or has a name that the target does not take.
std::optional<PlanStep> Unfit(const PlanOptions& options, const WideString& path, const TreeEntry& entry) {
    if (options.exclude.Excludes(path, entry.kind == Kind::Folder || entry.kind == Kind::FolderLink)) {
        return Step(StepKind::Skip, StepReason::Excluded, path, entry);
    }
    if (IsUnfinishedName(entry.name)) {
        return Step(StepKind::Skip, StepReason::Unfinished, path, entry);
    }
    if (options.direction == Direction::Down && options.isLocalName && !options.isLocalName(entry.name)) {
        return Step(StepKind::Fail, StepReason::NotLocalName, path, entry);
    }
    if (entry.kind == Kind::FolderLink) {
        return Step(StepKind::Skip, StepReason::FolderLink, path, entry);
    }
    if (options.direction == Direction::Up && !IsText(entry.name)) {
        return Step(StepKind::Fail, StepReason::NotText, path, entry);
    }
    if (entry.kind == Kind::Broken) {
        return Step(StepKind::Fail, StepReason::Unreadable, path, entry);
    }
    if (entry.kind == Kind::Special) {
        return Step(StepKind::Skip, StepReason::Special, path, entry);
    }
    return std::nullopt;
}

bool IsFolderKind(Kind kind) {
    return kind == Kind::Folder || kind == Kind::FolderLink;
}

// What of the target stands where the source's item is to go; it is never touched.
std::optional<StepReason> Obstacle(Kind source, const TreeEntry* target) {
    if (target != nullptr && target->kind == Kind::Special) {
        return StepReason::InTheWay;
    }
    const bool wrong = target != nullptr && IsFolderKind(source) != IsFolderKind(target->kind);
    return wrong ? std::optional(StepReason::WrongKind) : std::nullopt;
}

// Of one item, and not of another or of none.
bool IsItemName(const WideString& name) {
    return !name.empty() && name != QM_W(".") && name != QM_W("..") && name.FindLast(QM_W('/')) == WideString::npos;
}

PlanStep InTarget(PlanStep step) {
    step.inTarget = true;
    return step;
}

void SortByName(std::vector<TreeEntry>& entries) {
    std::sort(entries.begin(), entries.end(),
              [](const TreeEntry& left, const TreeEntry& right) { return left.name < right.name; });
}

}  // namespace

bool IsUnfinishedName(const WideString& name) {
    const WideView text = name.view();
    return text.ends_with(PartEnding) || text.ends_with(PartRecordEnding) || text.ends_with(TemporaryEnding) ||
           text.ends_with(NewPartRecordEnding);
}

bool IsSameFile(const TreeEntry& left, const TreeEntry& right) {
    return left.kind == Kind::File && right.kind == Kind::File && left.size == right.size && left.modified.IsSet() &&
           right.modified.IsSet() &&
           left.modified.Ticks() / TicksPerMillisecond == right.modified.Ticks() / TicksPerMillisecond;
}

PlanStep PlanFile(const PlanOptions& options, const WideString& path, const TreeEntry& source,
                  const TreeEntry* target) {
    if (target != nullptr && !options.always && IsSameFile(source, *target)) {
        return Step(StepKind::Skip, StepReason::Same, path, source);
    }
    const bool up = options.direction == Direction::Up;
    const FolderAbilities abilities = AbilitiesAt(options, path);
    if (up && abilities.largestFile != 0 && static_cast<std::uint64_t>(source.size) > abilities.largestFile) {
        PlanStep step = Step(StepKind::Fail, StepReason::TooLarge, path, source);
        step.limit = abilities.largestFile;
        return step;
    }
    const StepReason reason = target == nullptr             ? StepReason::New
                              : IsSameFile(source, *target) ? StepReason::Asked
                                                            : StepReason::Changed;
    PlanStep step = Step(StepKind::Transfer, reason, path, source);
    if (up) {
        step.revision = target != nullptr ? target->revision : std::string();
    }
    step.method = options.method ? *options.method
                  : up           ? UploadMethod(options, abilities, path, source, target)
                                 : DownloadMethod(abilities, source, target);
    return step;
}

void TreePlanner::Walk(bool targetThere, const Sink& sink) {
    m_sink = &sink;
    m_answer = Answer::GoOn;
    const PlanStep top = targetThere ? FolderStep(StepKind::Skip, StepReason::Same, WideString())
                                     : FolderStep(StepKind::MakeFolder, StepReason::New, WideString());
    if (Emit(top) && m_answer == Answer::GoOn && WalkFolder({WideString(), targetThere, true})) {
        static_cast<void>(EmitDeletions());
    }
}

bool TreePlanner::ReadBoth(const Folder& folder, Entries& source, Entries& target) {
    if (folder.inTarget && !ReadTarget(folder.path, target)) {
        return false;
    }
    const DWORD error = m_source.List(folder.path, source);
    if (error != ERROR_SUCCESS) {
        m_sourceComplete = false;
        Emit(FolderStep(StepKind::Fail, StepReason::Unreadable, folder.path, error));
    }
    SortByName(source);
    return true;
}

bool TreePlanner::ReadTarget(const WideString& path, Entries& entries) {
    DWORD error = m_target.List(path, entries);
    const bool named =
        std::all_of(entries.begin(), entries.end(), [](const TreeEntry& entry) { return IsItemName(entry.name); });
    if (error == ERROR_SUCCESS && !named) {
        error = ERROR_INVALID_DATA;
    }
    if (error != ERROR_SUCCESS) {
        Emit(InTarget(FolderStep(StepKind::Fail, StepReason::Unreadable, path, error)));
        return false;
    }
    SortByName(entries);
    return true;
}

bool TreePlanner::WalkFolder(const Folder& folder) {
    std::vector<Folder> folders;
    {
        // Gone before the folders in it are walked: what is kept on the way down are names of folders.
        Entries source;
        Entries target;
        if (!ReadBoth(folder, source, target)) {
            return m_answer != Answer::Stop;
        }
        std::map<WideString, const TreeEntry*> targets;
        for (const TreeEntry& entry : target) {
            targets.emplace(KeyOf(entry.name), &entry);
        }
        std::set<WideString> named;
        for (const TreeEntry& entry : source) {
            const WideString key = KeyOf(entry.name);
            const auto found = targets.find(key);
            const bool taken = !named.insert(key).second;
            const PlanStep twin = Step(StepKind::Fail, StepReason::NameTaken, Below(folder.path, entry.name), entry);
            if (taken ? !Emit(twin)
                      : !PlanEntry(folder, entry, found == targets.end() ? nullptr : found->second, folders)) {
                return false;
            }
        }
        if (m_sourceComplete && !PlanExtras(folder, target, named)) {
            return false;
        }
    }
    for (const Folder& below : folders) {
        const bool made = below.inTarget ? Emit(FolderStep(StepKind::Skip, StepReason::Same, below.path))
                                         : Emit(FolderStep(StepKind::MakeFolder, StepReason::New, below.path));
        if (!made || (m_answer != Answer::LeaveOut && !WalkFolder(below))) {
            return false;
        }
    }
    return true;
}

bool TreePlanner::PlanEntry(const Folder& folder, const TreeEntry& source, const TreeEntry* target,
                            std::vector<Folder>& folders) {
    const WideString path = Below(folder.path, source.name);
    if (const std::optional<PlanStep> unfit = Unfit(m_options, path, source)) {
        return Emit(*unfit);
    }
    if (const std::optional<StepReason> obstacle = Obstacle(source.kind, target)) {
        return Emit(Step(StepKind::Fail, *obstacle, path, source));
    }
    if (source.kind == Kind::Folder) {
        const bool behindLink = target != nullptr && target->kind == Kind::FolderLink;
        folders.push_back({path, target != nullptr, folder.mayDelete && !behindLink});
        return true;
    }
    // A link that leads nowhere is replaced, like nothing.
    const bool file = target != nullptr && target->kind == Kind::File;
    return Emit(PlanFile(m_options, path, source, file ? target : nullptr));
}

bool TreePlanner::PlanExtras(const Folder& folder, const Entries& target, const std::set<WideString>& named) {
    for (const TreeEntry& entry : target) {
        const WideString path = Below(folder.path, entry.name);
        if (named.count(KeyOf(entry.name)) != 0) {
            continue;
        }
        if (m_options.deleteExtra && folder.mayDelete) {
            static_cast<void>(Collect(path, entry, path));
        } else if (!m_options.exclude.Excludes(path, IsFolderKind(entry.kind)) && !IsUnfinishedName(entry.name)) {
            Emit(InTarget(Step(StepKind::Skip, StepReason::OnlyInTarget, path, entry)));
        }
        if (m_answer == Answer::Stop) {
            return false;
        }
    }
    return true;
}

bool TreePlanner::Collect(const WideString& path, const TreeEntry& entry, const WideString& extra) {
    if (m_options.exclude.Excludes(path, IsFolderKind(entry.kind)) || IsUnfinishedName(entry.name)) {
        return false;
    }
    const bool plain = (entry.kind == Kind::File && !entry.link) || entry.kind == Kind::Folder;
    if (!plain) {
        const StepReason reason = entry.kind == Kind::FolderLink ? StepReason::FolderLink
                                  : entry.link                   ? StepReason::Link
                                                                 : StepReason::Special;
        Emit(InTarget(Step(StepKind::Skip, reason, path, entry)));
        return false;
    }
    if (entry.kind == Kind::Folder && !CollectChildren(path, extra)) {
        return false;
    }
    PlanStep step = InTarget(Step(StepKind::Delete, StepReason::OnlyInTarget, path, entry));
    step.extra = extra;
    m_deletions.push_back(step);
    return true;
}

bool TreePlanner::CollectChildren(const WideString& path, const WideString& extra) {
    Entries children;
    if (!ReadTarget(path, children)) {
        return false;
    }
    bool allOfThem = true;
    for (const TreeEntry& child : children) {
        allOfThem = Collect(Below(path, child.name), child, extra) && allOfThem;
    }
    return allOfThem;
}

bool TreePlanner::EmitDeletions() {
    if (!m_sourceComplete) {
        m_withheld = m_deletions.size();
        return true;
    }
    return std::all_of(m_deletions.begin(), m_deletions.end(), [this](const PlanStep& step) { return Emit(step); });
}

// Only names of the local side can be the same name in different letters, and only where they are to be made.
WideString TreePlanner::KeyOf(const WideString& name) const {
    return m_options.direction == Direction::Down && m_options.localKey ? m_options.localKey(name) : name;
}

bool TreePlanner::Emit(const PlanStep& step) {
    if (m_answer != Answer::Stop) {
        m_answer = (*m_sink)(step);
    }
    return m_answer != Answer::Stop;
}

}  // namespace quillmark::cli
