#include "settings/DefaultsStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>

#include <sys/stat.h>

#include "platform/Log.h"
#include "settings/PlistCodec.h"

namespace orvella::settings {

namespace {

// Each holder keeps the lock for one read and one write of a small file; a process that waited
// this long has met a lock that nobody releases.
constexpr int kLockTimeoutMs = 10000;

// A place next to `path` for a file that does not parse, named after the time it was found.
QString corruptName(const QString& path) {
    const QString stamp = QDateTime::currentDateTimeUtc().toString("yyyyMMdd'T'HHmmss'Z'");
    QString name = path + QStringLiteral(".corrupt-") + stamp;
    for (int n = 2; QFileInfo::exists(name); ++n)
        name = path + QStringLiteral(".corrupt-%1-%2").arg(stamp).arg(n);
    return name;
}

}  // namespace

DefaultsStore::DefaultsStore(const QString& path) : path_(path) {
    if (!lockedSync(nullptr)) {
        // Nobody released the lock: read what is there without setting anything aside.
        QFile file(path_);
        if (file.open(QIODevice::ReadOnly))
            if (auto content = plist::parseDictionary(file.readAll(), nullptr)) values_ = *content;
    }
}

QString DefaultsStore::defaultPath() {
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty() || !QDir::isAbsolutePath(config))
        config = QDir::homePath() + QStringLiteral("/.config");
    return config + QStringLiteral("/orvella/org.orvella.Orvella.plist");
}

void DefaultsStore::registerDefaults(const QVariantMap& defaults) {
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        const QVariant value = plist::normalized(it.value());
        if (value.isValid()) registered_.insert(it.key(), value);
    }
}

QVariant DefaultsStore::objectForKey(const QString& key) const {
    const auto found = values_.constFind(key);
    if (found != values_.cend()) return *found;
    return registered_.value(key);
}

QVariantMap DefaultsStore::dictionaryForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

QVariantList DefaultsStore::arrayForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

qint64 DefaultsStore::integerForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool() ? 1 : 0;
        case QMetaType::LongLong:
            return value.toLongLong();
        case QMetaType::Double: {
            const double real = value.toDouble();
            // Out of range (or not a number) has no integer: read it as none.
            if (!(real > -9.2e18 && real < 9.2e18)) return 0;
            return static_cast<qint64>(real);
        }
        default:
            return 0;
    }
}

bool DefaultsStore::boolForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool();
        case QMetaType::LongLong:
            return value.toLongLong() != 0;
        case QMetaType::Double:
            return value.toDouble() != 0;
        default:
            return false;
    }
}

QString DefaultsStore::stringForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

void DefaultsStore::setObject(const QVariant& value, const QString& key) {
    const QVariant plain = plist::normalized(value);
    if (!plain.isValid()) {
        removeObject(key);
        return;
    }
    values_.insert(key, plain);
    pending_[key] = plain;
}

void DefaultsStore::removeObject(const QString& key) {
    values_.remove(key);
    pending_[key] = std::nullopt;
}

bool DefaultsStore::synchronize() {
    return lockedSync(nullptr);
}

bool DefaultsStore::modify(const std::function<void()>& change) {
    return lockedSync(change);
}

bool DefaultsStore::lockedSync(const std::function<void()>& change) {
    if (locked_) {
        // Called from within a change: the lock is held and the write follows.
        if (change) change();
        return true;
    }
    const QString directory = QFileInfo(path_).absolutePath();
    if (!QDir().mkpath(directory)) {
        NSLog("Preferences: cannot create %s; changes are kept until it can be written",
              qPrintable(directory));
        return false;
    }
    QLockFile lock(path_ + QStringLiteral(".lock"));
    if (!lock.tryLock(kLockTimeoutMs)) {
        NSLog("Preferences: %s.lock is held by another process; changes are kept for later",
              qPrintable(path_));
        return false;
    }

    locked_ = true;
    const struct Unlock {
        bool& flag;
        ~Unlock() { flag = false; }
    } unlock{locked_};

    QVariantMap onDisk;
    bool mustWrite = false;
    switch (readFile(&onDisk)) {
        case ReadResult::Read:
        case ReadResult::Missing:
            values_ = onDisk;
            break;
        case ReadResult::SetAside:
            // The last good content this process read stays; write it back in place of the
            // file set aside.
            mustWrite = !values_.isEmpty() || !pending_.empty();
            break;
        case ReadResult::Failed:
            return false;
    }
    for (const auto& [key, value] : pending_) {
        if (value)
            values_.insert(key, *value);
        else
            values_.remove(key);
    }
    if (change) change();
    if ((mustWrite || values_ != onDisk) && !writeFile(values_)) return false;
    pending_.clear();
    return true;
}

std::optional<DefaultsStore::Stamp> DefaultsStore::currentStamp() const {
    struct stat info {};
    if (::stat(QFile::encodeName(path_).constData(), &info) != 0) return std::nullopt;
    return Stamp{static_cast<unsigned long long>(info.st_dev),
                 static_cast<unsigned long long>(info.st_ino), static_cast<long long>(info.st_size),
                 static_cast<long long>(info.st_mtim.tv_sec),
                 static_cast<long long>(info.st_mtim.tv_nsec)};
}

DefaultsStore::ReadResult DefaultsStore::readFile(QVariantMap* content) {
    // Every write replaces the file (a new inode), so an unchanged stamp is unchanged content.
    const std::optional<Stamp> stamp = currentStamp();
    if (stamp && stamp == stamp_) {
        *content = lastRead_;
        return ReadResult::Read;
    }
    stamp_.reset();
    QFile file(path_);
    if (!file.exists()) return ReadResult::Missing;
    if (!file.open(QIODevice::ReadOnly)) {
        NSLog("Preferences: cannot read %s: %s", qPrintable(path_), qPrintable(file.errorString()));
        return ReadResult::Failed;
    }
    const QByteArray bytes = file.readAll();
    file.close();
    QString why;
    if (auto parsed = plist::parseDictionary(bytes, &why)) {
        *content = std::move(*parsed);
        lastRead_ = *content;
        stamp_ = stamp;
        return ReadResult::Read;
    }
    const QString aside = corruptName(path_);
    if (!QFile::rename(path_, aside)) {
        NSLog(
            "Preferences: %s cannot be read (%s) and cannot be moved aside to %s; it is left "
            "as it is",
            qPrintable(path_), qPrintable(why), qPrintable(aside));
        return ReadResult::Failed;
    }
    NSLog("Preferences: %s cannot be read (%s); moved it aside to %s", qPrintable(path_),
          qPrintable(why), qPrintable(aside));
    setAside_ = aside;
    return ReadResult::SetAside;
}

bool DefaultsStore::writeFile(const QVariantMap& content) {
    QSaveFile file(path_);
    if (!file.open(QIODevice::WriteOnly)) {
        NSLog("Preferences: cannot write %s: %s", qPrintable(path_),
              qPrintable(file.errorString()));
        return false;
    }
    const QByteArray bytes = plist::toXml(content);
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        NSLog("Preferences: cannot write %s: %s", qPrintable(path_),
              qPrintable(file.errorString()));
        return false;
    }
    lastRead_ = content;
    stamp_ = currentStamp();
    return true;
}

}  // namespace orvella::settings
