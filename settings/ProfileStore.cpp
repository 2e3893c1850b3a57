#include "settings/ProfileStore.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

#include "camera/ControlCatalog.h"
#include "platform/Log.h"
#include "settings/DefaultsKeys.h"
#include "settings/PlistCodec.h"

namespace orvella::settings {

namespace {

bool isAppDefault(const QVariant& record) {
    const QVariant flag = record.toMap().value(keys::kAppDefault);
    switch (flag.typeId()) {
        case QMetaType::Bool:
            return flag.toBool();
        case QMetaType::LongLong:
            return flag.toLongLong() != 0;
        default:
            return false;
    }
}

bool isRecord(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantMap;
}

QString nameOf(const QVariant& record) {
    return record.toMap().value(keys::kSettingsName).toString();
}

// The array positions of the named profiles, in list order.
QList<qsizetype> profilePositions(const QVariantList& array) {
    QList<qsizetype> positions;
    for (qsizetype i = 0; i < array.size(); ++i)
        if (isRecord(array[i]) && !isAppDefault(array[i])) positions << i;
    return positions;
}

// The array position of the profile at a list index, -1 when there is none. With `shown`, the
// record at that position must equal it, or else the first named record that does is taken.
qsizetype positionOf(const QVariantList& array, int listIndex, const SettingsRecord* shown) {
    const QList<qsizetype> positions = profilePositions(array);
    const qsizetype at = listIndex - kFirstProfileIndex;
    if (at >= 0 && at < positions.size()) {
        const qsizetype position = positions[at];
        if (!shown || array[position].toMap() == *shown) return position;
    }
    if (!shown) return -1;
    for (qsizetype position : positions)
        if (array[position].toMap() == *shown) return position;
    return -1;
}

QVariantList arrayOf(const QVariantMap& settings, const QString& model) {
    const QVariant value = settings.value(model);
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

// What stands where a change would write when it is of another type than the store writes (a
// model whose entry is not a list, "Settings" that is not a dictionary): the user's data all the
// same, so a change leaves it as it is and the caller reports it.
struct Kept {
    QString where;
    QVariant value;
    const char* expected = "";
};

std::optional<Kept> dictionaryIn(const DefaultsDomain& domain, const QString& key,
                                 QVariantMap* dictionary) {
    const QVariant stored = domain.objectForKey(key);
    if (stored.isValid() && stored.typeId() != QMetaType::QVariantMap)
        return Kept{QStringLiteral("\"%1\"").arg(key), stored, "a dictionary"};
    *dictionary = stored.toMap();
    return std::nullopt;
}

// The "Settings" dictionary and the model's list of records as the domain holds them.
std::optional<Kept> settingsIn(const DefaultsDomain& domain, const QString& model,
                               QVariantMap* settings, QVariantList* array) {
    if (auto kept = dictionaryIn(domain, keys::kSettings, settings)) return kept;
    const QVariant entry = settings->value(model);
    if (entry.isValid() && entry.typeId() != QMetaType::QVariantList)
        return Kept{QStringLiteral("the entry of %1").arg(model), entry, "a list of profiles"};
    *array = entry.toList();
    return std::nullopt;
}

// What a change that stores one model's list did: the changes below run on the defaults store's
// view and again on the file's content under the lock (DefaultsStore::modify), so they work on
// copies they captured and report through what they return.
struct Edit {
    bool done = false;
    int listIndex = -1;
    std::optional<Kept> kept;
};

}  // namespace

ProfileStore::ProfileStore(DefaultsStore& defaults, QObject* parent)
    : QObject(parent), defaults_(defaults) {
    // With background writes, what another process wrote arrives with the writer's results.
    defaults_.setChangedElsewhereHandler([this] { emit profilesChanged(QString()); });
}

ProfileStore::~ProfileStore() {
    defaults_.setChangedElsewhereHandler({});
}

QString ProfileStore::trimmedName(const QString& typed) {
    return typed.trimmed();
}

bool ProfileStore::hasControlCharacters(const QString& name) {
    return std::any_of(name.cbegin(), name.cend(), [](QChar c) {
        return c.category() == QChar::Other_Control || c.category() == QChar::Other_Surrogate ||
               c.unicode() == 0xFFFE || c.unicode() == 0xFFFF;
    });
}

void ProfileStore::reportKept(const QString& where, const QVariant& value, const char* expected) {
    problem_ = QStringLiteral(
                   "%1 in %2 holds a value of type %3 where %4 belongs; it is kept as it "
                   "is and nothing is saved in it")
                   .arg(where, defaults_.path(), plist::typeName(value), QLatin1String(expected));
    if (reported_.contains(where)) return;
    reported_.insert(where);
    NSLog("Settings: %s", qPrintable(problem_));
}

template <typename Outcome>
bool ProfileStore::reported(const std::optional<Outcome>& outcome) {
    if (outcome && outcome->kept)
        reportKept(outcome->kept->where, outcome->kept->value, outcome->kept->expected);
    return outcome && outcome->done;
}

QList<SettingsRecord> ProfileStore::records(const QString& model) const {
    QList<SettingsRecord> out;
    for (const QVariant& record : arrayOf(defaults_.dictionaryForKey(keys::kSettings), model))
        if (isRecord(record)) out << record.toMap();
    return out;
}

QList<SettingsRecord> ProfileStore::profiles(const QString& model) const {
    QList<SettingsRecord> out;
    for (const QVariant& record : arrayOf(defaults_.dictionaryForKey(keys::kSettings), model))
        if (isRecord(record) && !isAppDefault(record)) out << record.toMap();
    return out;
}

std::optional<SettingsRecord> ProfileStore::profileAt(const QString& model, int listIndex) const {
    const QList<SettingsRecord> named = profiles(model);
    const qsizetype at = listIndex - kFirstProfileIndex;
    if (at < 0 || at >= named.size()) return std::nullopt;
    return named[at];
}

int ProfileStore::listIndexOf(const QString& model, const QString& name) const {
    const QList<SettingsRecord> named = profiles(model);
    for (qsizetype i = 0; i < named.size(); ++i)
        if (nameOf(named[i]) == name) return static_cast<int>(i) + kFirstProfileIndex;
    return -1;
}

std::optional<SettingsRecord> ProfileStore::appDefaultRecord(const QString& model) const {
    for (const SettingsRecord& record : records(model))
        if (isAppDefault(record)) return record;
    return std::nullopt;
}

bool ProfileStore::hasRecordNamed(const QString& model, const QString& name) const {
    const QList<SettingsRecord> all = records(model);
    return std::any_of(all.cbegin(), all.cend(),
                       [&name](const SettingsRecord& record) { return nameOf(record) == name; });
}

int ProfileStore::loadAtStart(const QString& model) const {
    const QVariantMap marks = defaults_.dictionaryForKey(keys::kLoadAtStart);
    const QVariant index = marks.value(model);
    if (index.typeId() != QMetaType::LongLong && index.typeId() != QMetaType::Double) return -1;
    const double value = index.toDouble();
    return value >= -1 && value < 1 << 20 ? static_cast<int>(value) : -1;
}

QStringList ProfileStore::models() const {
    QStringList out;
    const QVariantMap settings = defaults_.dictionaryForKey(keys::kSettings);
    for (auto it = settings.cbegin(); it != settings.cend(); ++it)
        if (it.value().typeId() == QMetaType::QVariantList) out << it.key();
    return out;
}

QList<SettingsRecord> ProfileStore::appDefaultRecords(const QString& model) const {
    QList<SettingsRecord> found;
    for (const SettingsRecord& record : records(model))
        if (isAppDefault(record)) found << record;
    return found;
}

bool ProfileStore::saveSettings(const QString& name, bool isAppDefaultRecord, const QString& model,
                                const std::optional<SettingsRecord>& state) {
    if (!state) return false;
    SettingsRecord record = *state;
    record.insert(keys::kSettingsName, name);
    if (isAppDefaultRecord) record.insert(keys::kAppDefault, true);
    problem_.clear();
    const bool saved = reported(defaults_.modify([model, record](DefaultsDomain& domain) {
        Edit edit;
        QVariantMap settings;
        QVariantList array;
        if ((edit.kept = settingsIn(domain, model, &settings, &array))) return edit;
        array.append(record);
        settings.insert(model, array);
        domain.setObject(settings, keys::kSettings);
        edit.done = true;
        return edit;
    }));
    if (saved && !isAppDefaultRecord) emit profilesChanged(model);
    return saved;
}

std::optional<ProfileStore::SaveOutcome> ProfileStore::refuseName(const QString& typedName) {
    SaveOutcome outcome;
    outcome.name = trimmedName(typedName);
    if (outcome.name.isEmpty()) {
        outcome.result = SaveResult::BlankName;
        return outcome;
    }
    if (hasControlCharacters(outcome.name)) {
        outcome.result = SaveResult::InvalidName;
        return outcome;
    }
    return std::nullopt;
}

ProfileStore::SaveOutcome ProfileStore::saveNewProfile(const QString& typedName,
                                                       const QString& model,
                                                       const std::optional<SettingsRecord>& state) {
    if (const auto refused = refuseName(typedName)) return *refused;
    SaveOutcome outcome;
    outcome.name = trimmedName(typedName);
    if (!state) return outcome;
    SettingsRecord record = *state;
    record.insert(keys::kSettingsName, outcome.name);
    // The clash is decided on the file's current content, under the lock.
    problem_.clear();
    struct Saving : Edit {
        bool taken = false;
    };
    const auto saving =
        defaults_.modify([model, record, name = outcome.name](DefaultsDomain& domain) {
            Saving edit;
            QVariantMap settings;
            QVariantList array;
            if ((edit.kept = settingsIn(domain, model, &settings, &array))) return edit;
            if (std::any_of(array.cbegin(), array.cend(), [&](const QVariant& existing) {
                    return isRecord(existing) && nameOf(existing) == name;
                })) {
                edit.taken = true;
                return edit;
            }
            array.append(record);
            settings.insert(model, array);
            domain.setObject(settings, keys::kSettings);
            edit.done = true;
            edit.listIndex =
                static_cast<int>(profilePositions(array).size()) - 1 + kFirstProfileIndex;
            return edit;
        });
    if (reported(saving)) {
        outcome.result = SaveResult::Saved;
        outcome.listIndex = saving->listIndex;
        emit profilesChanged(model);
        emit profileSaved(model, outcome.listIndex);
    } else if (saving && saving->taken) {
        outcome.result = SaveResult::NameTaken;
    }
    return outcome;
}

bool ProfileStore::updateSettings(const QString& model, const std::optional<SettingsRecord>& state,
                                  bool stateIsWhole) {
    if (!state) return false;
    const SettingsRecord entries = *state;
    // The record made when the model has none yet: only from a whole state.
    SettingsRecord created = entries;
    created.insert(keys::kSettingsName, QString(keys::kAppDefaultName));
    created.insert(keys::kAppDefault, true);
    problem_.clear();
    return reported(
        defaults_.modify([model, entries, created, stateIsWhole](DefaultsDomain& domain) {
            Edit edit;
            QVariantMap settings;
            QVariantList array;
            if ((edit.kept = settingsIn(domain, model, &settings, &array))) return edit;
            const auto found = std::find_if(array.begin(), array.end(), isAppDefault);
            if (found == array.end()) {
                // Gone meanwhile (another process): the next change writes it whole.
                if (!stateIsWhole) return edit;
                array.append(created);
            } else {
                SettingsRecord record = found->toMap();
                record.insert(entries);
                *found = record;
            }
            settings.insert(model, array);
            domain.setObject(settings, keys::kSettings);
            edit.done = true;
            return edit;
        }));
}

bool ProfileStore::updateProfile(int listIndex, const QString& model,
                                 const std::optional<SettingsRecord>& state,
                                 const SettingsRecord* shown) {
    if (listIndex < kFirstProfileIndex || !state) return false;
    const SettingsRecord entries = *state;
    const std::optional<SettingsRecord> meant =
        shown ? std::optional<SettingsRecord>(*shown) : std::nullopt;
    problem_.clear();
    const auto edit = defaults_.modify([model, listIndex, entries, meant](DefaultsDomain& domain) {
        Edit edit;
        QVariantMap settings;
        QVariantList array;
        if ((edit.kept = settingsIn(domain, model, &settings, &array))) return edit;
        const qsizetype position = positionOf(array, listIndex, meant ? &*meant : nullptr);
        if (position < 0) return edit;
        SettingsRecord record = array[position].toMap();
        record.insert(entries);
        array[position] = record;
        settings.insert(model, array);
        domain.setObject(settings, keys::kSettings);
        edit.listIndex =
            static_cast<int>(profilePositions(array).indexOf(position)) + kFirstProfileIndex;
        edit.done = true;
        return edit;
    });
    if (!reported(edit)) return false;
    emit profilesChanged(model);
    emit profileUpdated(model, edit->listIndex);
    return true;
}

bool ProfileStore::deleteAt(const QString& model, const Position& position, bool* found,
                            int* listIndex) {
    problem_.clear();
    struct Deleting : Edit {
        bool found = false;
        bool forgotStart = false;
    };
    const auto edit = defaults_.modify([model, position](DefaultsDomain& domain) {
        Deleting edit;
        QVariantMap settings;
        QVariantList array;
        if ((edit.kept = settingsIn(domain, model, &settings, &array))) return edit;
        const qsizetype at = position(array);
        if (at >= 0) {
            edit.found = true;
            edit.listIndex =
                static_cast<int>(profilePositions(array).indexOf(at)) + kFirstProfileIndex;
            array.removeAt(at);
            settings.insert(model, array);
            domain.setObject(settings, keys::kSettings);
            edit.done = true;
        }
        // Deleting any profile forgets the model's load-at-start choice: list indices after the
        // deleted one have moved.
        const QVariant marks = domain.objectForKey(keys::kLoadAtStart);
        if (marks.typeId() == QMetaType::QVariantMap) {
            QVariantMap copy = marks.toMap();
            edit.forgotStart = copy.remove(model) > 0;
            if (edit.forgotStart) domain.setObject(copy, keys::kLoadAtStart);
        }
        return edit;
    });
    const bool deleted = reported(edit);
    if (edit) {
        *found = edit->found;
        *listIndex = edit->listIndex;
    }
    if (deleted) {
        emit profilesChanged(model);
        emit profileDeleted(model, *listIndex);
    }
    if (edit && edit->forgotStart) emit loadAtStartChanged(model);
    return deleted;
}

bool ProfileStore::deleteSettings(const QString& model, int listIndex,
                                  const SettingsRecord* shown) {
    bool found = false;
    int deletedIndex = -1;
    const std::optional<SettingsRecord> meant =
        shown ? std::optional<SettingsRecord>(*shown) : std::nullopt;
    return deleteAt(
        model,
        [listIndex, meant](const QVariantList& array) -> qsizetype {
            return listIndex >= kFirstProfileIndex
                       ? positionOf(array, listIndex, meant ? &*meant : nullptr)
                       : -1;
        },
        &found, &deletedIndex);
}

std::optional<SettingsRecord> ProfileStore::currentProfileNamed(const QString& model,
                                                                const QString& name) {
    // The file's current content first (this process's changes written with it).
    defaults_.synchronize();
    for (const SettingsRecord& record : profiles(model))
        if (nameOf(record) == name) return record;
    return std::nullopt;
}

ProfileStore::NamedResult ProfileStore::deleteProfileNamed(const QString& model,
                                                           const QString& name) {
    bool found = false;
    int deletedIndex = -1;
    const bool deleted = deleteAt(
        model,
        [name](const QVariantList& array) -> qsizetype {
            for (qsizetype position : profilePositions(array))
                if (nameOf(array[position]) == name) return position;
            return -1;
        },
        &found, &deletedIndex);
    if (deleted) return NamedResult::Done;
    return found || !problem_.isEmpty() || !defaults_.problem().isEmpty()
               ? NamedResult::NotWritten
               : NamedResult::NoSuchProfile;
}

bool ProfileStore::setLoadAtStart(const QString& model, int listIndex) {
    problem_.clear();
    const bool marked = reported(defaults_.modify([model, listIndex](DefaultsDomain& domain) {
        Edit edit;
        QVariantMap marks;
        if ((edit.kept = dictionaryIn(domain, keys::kLoadAtStart, &marks))) return edit;
        marks.insert(model, static_cast<qint64>(listIndex));
        domain.setObject(marks, keys::kLoadAtStart);
        edit.done = true;
        return edit;
    }));
    if (marked) emit loadAtStartChanged(model);
    return marked;
}

bool ProfileStore::cleanDefaults() {
    struct Cleaning {
        bool changed = false;
        std::optional<Kept> kept;
        QList<Kept> keptInside;
        QList<std::pair<QString, QString>> duplicates;  // model, name
    };
    const auto cleaning = defaults_.modify([](DefaultsDomain& domain) {
        Cleaning clean;
        QVariantMap settings;
        if ((clean.kept = dictionaryIn(domain, keys::kSettings, &settings))) return clean;
        QVariantMap cleaned;
        for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
            if (it.value().typeId() != QMetaType::QVariantList) {
                clean.keptInside.append({QStringLiteral("the entry of %1").arg(it.key()),
                                         it.value(), "a list of profiles"});
                cleaned.insert(it.key(), it.value());
                continue;
            }
            // One record per name; a later record of a name takes the place of the earlier.
            // Entries that are not records are kept where they are.
            QVariantList kept;
            for (const QVariant& record : it.value().toList()) {
                if (!isRecord(record)) {
                    clean.keptInside.append(
                        {QStringLiteral("a profile of %1").arg(it.key()), record, "a dictionary"});
                    kept.append(record);
                    continue;
                }
                const QString name = nameOf(record);
                if (kept.removeIf([&name](const QVariant& earlier) {
                        return isRecord(earlier) && nameOf(earlier) == name;
                    }) > 0)
                    clean.duplicates.append({it.key(), name});
                kept.append(record);
            }
            if (!kept.isEmpty()) cleaned.insert(it.key(), kept);
        }
        clean.changed = cleaned != settings;
        if (clean.changed) domain.setObject(cleaned, keys::kSettings);
        return clean;
    });
    if (!cleaning) return false;
    if (cleaning->kept)
        reportKept(cleaning->kept->where, cleaning->kept->value, cleaning->kept->expected);
    for (const Kept& kept : cleaning->keptInside)
        reportKept(kept.where, kept.value, kept.expected);
    for (const auto& [model, name] : cleaning->duplicates)
        NSLog("Settings: %s has several profiles named \"%s\"; the last one is kept",
              qPrintable(model), qPrintable(name));
    if (cleaning->changed) emit profilesChanged(QString());
    return true;
}

void ProfileStore::watchForOtherProcesses() {
    if (watcher_) return;
    // Writers replace the file, so its folder is watched: the file itself would be lost at the
    // first replacement.
    const QString folder = QFileInfo(defaults_.path()).absolutePath();
    QDir().mkpath(folder);
    watcher_ = new QFileSystemWatcher(QStringList{folder}, this);
    connect(watcher_, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (!defaults_.changedOnDisk()) return;
        // With background writes the file is read on the writer thread, and the lists hear of
        // it through the handler set in the constructor.
        if (defaults_.backgroundWrites())
            defaults_.refresh();
        else
            reload();
    });
}

void ProfileStore::reload() {
    defaults_.synchronize();
    emit profilesChanged(QString());
}

}  // namespace orvella::settings
