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

}  // namespace

ProfileStore::ProfileStore(DefaultsStore& defaults, QObject* parent)
    : QObject(parent), defaults_(defaults) {}

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

bool ProfileStore::writableDictionary(const QString& key, QVariantMap* dictionary) {
    const QVariant stored = defaults_.objectForKey(key);
    if (stored.isValid() && stored.typeId() != QMetaType::QVariantMap) {
        reportKept(QStringLiteral("\"%1\"").arg(key), stored, "a dictionary");
        return false;
    }
    *dictionary = stored.toMap();
    return true;
}

bool ProfileStore::writableSettings(const QString& model, QVariantMap* settings,
                                    QVariantList* array) {
    if (!writableDictionary(keys::kSettings, settings)) return false;
    const QVariant entry = settings->value(model);
    if (entry.isValid() && entry.typeId() != QMetaType::QVariantList) {
        reportKept(QStringLiteral("the entry of %1").arg(model), entry, "a list of profiles");
        return false;
    }
    *array = entry.toList();
    return true;
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
    bool saved = false;
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        QVariantList array;
        if (!writableSettings(model, &settings, &array)) return;
        array.append(record);
        settings.insert(model, array);
        defaults_.setObject(settings, keys::kSettings);
        saved = true;
    });
    if (written && saved && !isAppDefaultRecord) emit profilesChanged(model);
    return written && saved;
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
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        QVariantList array;
        if (!writableSettings(model, &settings, &array)) return;
        if (std::any_of(array.cbegin(), array.cend(), [&](const QVariant& existing) {
                return isRecord(existing) && nameOf(existing) == outcome.name;
            })) {
            outcome.result = SaveResult::NameTaken;
            return;
        }
        array.append(record);
        settings.insert(model, array);
        defaults_.setObject(settings, keys::kSettings);
        outcome.result = SaveResult::Saved;
        outcome.listIndex =
            static_cast<int>(profilePositions(array).size()) - 1 + kFirstProfileIndex;
    });
    if (!written ||
        (outcome.result != SaveResult::Saved && outcome.result != SaveResult::NameTaken)) {
        outcome.result = SaveResult::NotWritten;
        outcome.listIndex = -1;
    } else if (outcome.result == SaveResult::Saved) {
        emit profilesChanged(model);
        emit profileSaved(model, outcome.listIndex);
    }
    return outcome;
}

bool ProfileStore::updateSettings(const QString& model, const std::optional<SettingsRecord>& state,
                                  bool stateIsWhole) {
    if (!state) return false;
    problem_.clear();
    bool updated = false;
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        QVariantList array;
        if (!writableSettings(model, &settings, &array)) return;
        const auto found = std::find_if(array.begin(), array.end(), isAppDefault);
        if (found == array.end()) {
            if (!stateIsWhole) {
                NSLog("The last state of %s is gone; it is written whole with the next change",
                      qUtf8Printable(model));
                return;
            }
            SettingsRecord record = *state;
            record.insert(keys::kSettingsName, QString(keys::kAppDefaultName));
            record.insert(keys::kAppDefault, true);
            array.append(record);
        } else {
            SettingsRecord record = found->toMap();
            for (auto it = state->cbegin(); it != state->cend(); ++it)
                record.insert(it.key(), it.value());
            *found = record;
        }
        settings.insert(model, array);
        defaults_.setObject(settings, keys::kSettings);
        updated = true;
    });
    return written && updated;
}

bool ProfileStore::updateProfile(int listIndex, const QString& model,
                                 const std::optional<SettingsRecord>& state,
                                 const SettingsRecord* shown) {
    if (listIndex < kFirstProfileIndex || !state) return false;
    bool updated = false;
    int updatedIndex = -1;
    problem_.clear();
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        QVariantList array;
        if (!writableSettings(model, &settings, &array)) return;
        const qsizetype position = positionOf(array, listIndex, shown);
        if (position < 0) return;
        SettingsRecord record = array[position].toMap();
        for (auto it = state->cbegin(); it != state->cend(); ++it)
            record.insert(it.key(), it.value());
        array[position] = record;
        settings.insert(model, array);
        defaults_.setObject(settings, keys::kSettings);
        updatedIndex =
            static_cast<int>(profilePositions(array).indexOf(position)) + kFirstProfileIndex;
        updated = true;
    });
    if (written && updated) {
        emit profilesChanged(model);
        emit profileUpdated(model, updatedIndex);
    }
    return written && updated;
}

bool ProfileStore::deleteAt(const QString& model,
                            const std::function<qsizetype(const QVariantList&)>& position,
                            bool* found, int* listIndex) {
    bool deleted = false;
    bool forgotStart = false;
    problem_.clear();
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        QVariantList array;
        if (!writableSettings(model, &settings, &array)) return;
        const qsizetype at = position(array);
        if (at >= 0) {
            *found = true;
            *listIndex = static_cast<int>(profilePositions(array).indexOf(at)) + kFirstProfileIndex;
            array.removeAt(at);
            settings.insert(model, array);
            defaults_.setObject(settings, keys::kSettings);
            deleted = true;
        }
        // Deleting any profile forgets the model's load-at-start choice: list indices after the
        // deleted one have moved.
        const QVariant marks = defaults_.objectForKey(keys::kLoadAtStart);
        if (marks.typeId() == QMetaType::QVariantMap) {
            QVariantMap copy = marks.toMap();
            forgotStart = copy.remove(model) > 0;
            if (forgotStart) defaults_.setObject(copy, keys::kLoadAtStart);
        }
    });
    if (written && deleted) {
        emit profilesChanged(model);
        emit profileDeleted(model, *listIndex);
    }
    if (written && forgotStart) emit loadAtStartChanged(model);
    return written && deleted;
}

bool ProfileStore::deleteSettings(const QString& model, int listIndex,
                                  const SettingsRecord* shown) {
    bool found = false;
    int deletedIndex = -1;
    return deleteAt(
        model,
        [&](const QVariantList& array) -> qsizetype {
            return listIndex >= kFirstProfileIndex ? positionOf(array, listIndex, shown) : -1;
        },
        &found, &deletedIndex);
}

std::optional<SettingsRecord> ProfileStore::currentProfileNamed(const QString& model,
                                                                const QString& name) {
    std::optional<SettingsRecord> found;
    // A change that changes nothing: the file is read under the lock and nothing is written.
    defaults_.modify([&] {
        for (const SettingsRecord& record : profiles(model))
            if (!found && nameOf(record) == name) found = record;
    });
    return found;
}

ProfileStore::NamedResult ProfileStore::deleteProfileNamed(const QString& model,
                                                           const QString& name) {
    bool found = false;
    int deletedIndex = -1;
    const bool deleted = deleteAt(
        model,
        [&](const QVariantList& array) -> qsizetype {
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
    bool marked = false;
    const bool written = defaults_.modify([&] {
        QVariantMap marks;
        if (!writableDictionary(keys::kLoadAtStart, &marks)) return;
        marks.insert(model, static_cast<qint64>(listIndex));
        defaults_.setObject(marks, keys::kLoadAtStart);
        marked = true;
    });
    if (written && marked) emit loadAtStartChanged(model);
    return written && marked;
}

bool ProfileStore::cleanDefaults() {
    bool changed = false;
    const bool written = defaults_.modify([&] {
        QVariantMap settings;
        if (!writableDictionary(keys::kSettings, &settings)) return;
        QVariantMap cleaned;
        for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
            if (it.value().typeId() != QMetaType::QVariantList) {
                reportKept(QStringLiteral("the entry of %1").arg(it.key()), it.value(),
                           "a list of profiles");
                cleaned.insert(it.key(), it.value());
                continue;
            }
            // One record per name; a later record of a name takes the place of the earlier.
            // Entries that are not records are kept where they are.
            QVariantList kept;
            for (const QVariant& record : it.value().toList()) {
                if (!isRecord(record)) {
                    reportKept(QStringLiteral("a profile of %1").arg(it.key()), record,
                               "a dictionary");
                    kept.append(record);
                    continue;
                }
                const QString name = nameOf(record);
                if (kept.removeIf([&name](const QVariant& earlier) {
                        return isRecord(earlier) && nameOf(earlier) == name;
                    }) > 0)
                    NSLog("Settings: %s has several profiles named \"%s\"; the last one is kept",
                          qPrintable(it.key()), qPrintable(name));
                kept.append(record);
            }
            if (!kept.isEmpty()) cleaned.insert(it.key(), kept);
        }
        changed = cleaned != settings;
        if (changed) defaults_.setObject(cleaned, keys::kSettings);
    });
    if (written && changed) emit profilesChanged(QString());
    return written;
}

void ProfileStore::watchForOtherProcesses() {
    if (watcher_) return;
    // Writers replace the file, so its folder is watched: the file itself would be lost at the
    // first replacement.
    const QString folder = QFileInfo(defaults_.path()).absolutePath();
    QDir().mkpath(folder);
    watcher_ = new QFileSystemWatcher(QStringList{folder}, this);
    connect(watcher_, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (defaults_.changedOnDisk()) reload();
    });
}

void ProfileStore::reload() {
    defaults_.synchronize();
    emit profilesChanged(QString());
}

}  // namespace orvella::settings
