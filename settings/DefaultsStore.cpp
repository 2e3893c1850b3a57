#include "settings/DefaultsStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/Log.h"
#include "settings/PlistCodec.h"
#include "settings/PlistShape.h"

namespace orvella::settings {

namespace {

// Each holder keeps the lock for one read and one write of a small file; a process that waited
// this long has met a lock that nobody releases.
constexpr int kLockTimeoutMs = 10000;

// The preferences say which cameras a person has and when they were last used: only the owner
// reads them.
constexpr mode_t kFileMode = 0600;

// The system's text for an error number, as the tail of a sentence ("permission denied").
QString reason(int error) {
    QString text = QString::fromLocal8Bit(std::strerror(error));
    if (!text.isEmpty()) text[0] = text[0].toLower();
    return text;
}

// Writes all of `bytes` to `fd`; false with errno set when the disk takes less.
bool writeWhole(int fd, const QByteArray& bytes) {
    const char* data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(left));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            if (written == 0) errno = ENOSPC;
            return false;
        }
        data += written;
        left -= written;
    }
    return true;
}

// Moves a file that does not parse to a new name next to it, named after the time it was found.
// The new name is taken exclusively and never through a symbolic link (a hard link, or where the
// file system has none an O_EXCL|O_NOFOLLOW copy), so whatever stands at a name already, a planted
// link included, is neither followed nor replaced. Returns the new name, empty (with errno) when
// the file could not be moved.
QString moveAside(const QString& path) {
    const QByteArray from = QFile::encodeName(path);
    const QString stamp = QDateTime::currentDateTimeUtc().toString("yyyyMMdd'T'HHmmss'Z'");
    for (int n = 1; n < 1000; ++n) {
        const QString name = n == 1 ? path + QStringLiteral(".corrupt-") + stamp
                                    : path + QStringLiteral(".corrupt-%1-%2").arg(stamp).arg(n);
        const QByteArray to = QFile::encodeName(name);
        if (::link(from.constData(), to.constData()) != 0) {
            if (errno == EEXIST) continue;
            if (errno != EPERM && errno != EXDEV && errno != EOPNOTSUPP) return {};
            QFile original(path);
            if (!original.open(QIODevice::ReadOnly)) return {};
            const QByteArray bytes = original.readAll();
            const int fd = ::open(to.constData(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode);
            if (fd < 0) {
                if (errno == EEXIST) continue;
                return {};
            }
            const bool copied = writeWhole(fd, bytes) && ::fsync(fd) == 0;
            const int saved = errno;
            if (::close(fd) != 0 || !copied) {
                ::unlink(to.constData());
                errno = copied ? errno : saved;
                return {};
            }
        } else {
            ::chmod(to.constData(), kFileMode);  // the same inode: the original becomes private
        }
        if (::unlink(from.constData()) != 0) {
            const int unlinkError = errno;
            ::unlink(to.constData());
            errno = unlinkError;
            return {};
        }
        return name;
    }
    errno = EEXIST;
    return {};
}

// What to tell the user about a lock that could not be taken, and what to do about it.
QString lockProblem(const QLockFile& lock, const QString& lockPath) {
    switch (lock.error()) {
        case QLockFile::PermissionError:
            return QStringLiteral(
                       "cannot create the lock file %1: permission denied (the folder must be "
                       "writable by you)")
                .arg(lockPath);
        case QLockFile::LockFailedError: {
            qint64 pid = 0;
            QString host, application;
            if (lock.getLockInfo(&pid, &host, &application))
                return QStringLiteral(
                           "the lock file %1 is held by process %2 (%3) on host %4; if no Orvella "
                           "or orvellactl runs there, remove the lock file")
                    .arg(lockPath)
                    .arg(pid)
                    .arg(application.isEmpty() ? QStringLiteral("unknown program") : application,
                         host.isEmpty() ? QStringLiteral("unknown") : host);
            return QStringLiteral(
                       "the lock file %1 is held by another process; if no Orvella or "
                       "orvellactl runs, remove the lock file")
                .arg(lockPath);
        }
        default: {
            const QFileInfo info(lockPath);
            if (info.isDir())
                return QStringLiteral(
                           "the lock file %1 is a folder; remove it so that the preferences can "
                           "be written")
                    .arg(lockPath);
            if (info.exists() && info.ownerId() != ::geteuid())
                return QStringLiteral(
                           "the lock file %1 belongs to another user; remove it so that the "
                           "preferences can be written")
                    .arg(lockPath);
            return QStringLiteral(
                       "cannot take the lock file %1; if no Orvella or orvellactl "
                       "runs, remove it")
                .arg(lockPath);
        }
    }
}

}  // namespace

DefaultsStore::DefaultsStore(const QString& path) : path_(path) {
    if (!lockedSync(nullptr) && !unreadable_) {
        // No lock could be had: read what is there without setting anything aside.
        QFile file(path_);
        if (file.open(QIODevice::ReadOnly)) {
            if (auto content = plist::parseDictionary(file.read(plist::kMaxBytes + 1), nullptr))
                values_ = *content;
        } else if (file.exists()) {
            fail(QStringLiteral("cannot read %1: %2").arg(path_, reason(errno)));
            unreadable_ = true;
        }
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
    if (!QDir().mkpath(directory))
        return fail(QStringLiteral("cannot create the folder %1").arg(directory));
    const QString lockPath = path_ + QStringLiteral(".lock");
    // A folder or another user's file in the lock's place never goes away by waiting.
    const QFileInfo lockInfo(lockPath);
    if (lockInfo.isDir() || (lockInfo.exists() && lockInfo.ownerId() != ::geteuid()))
        return fail(lockProblem(QLockFile(lockPath), lockPath));
    QLockFile lock(lockPath);
    if (!lock.tryLock(kLockTimeoutMs)) return fail(lockProblem(lock, lockPath));

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
    problem_.clear();
    return true;
}

bool DefaultsStore::fail(const QString& problem) {
    problem_ = problem;
    NSLog("Preferences: %s; changes are kept for later", qPrintable(problem));
    return false;
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
    if (!file.exists()) {
        unreadable_ = false;
        return ReadResult::Missing;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        const int error = errno;
        unreadable_ = true;
        fail(QStringLiteral("cannot read %1: %2").arg(path_, reason(error)));
        return ReadResult::Failed;
    }
    // One byte past the reader's limit is enough to refuse a file that is too large.
    const QByteArray bytes = file.read(plist::kMaxBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        unreadable_ = true;
        fail(QStringLiteral("cannot read %1: %2").arg(path_, file.errorString()));
        return ReadResult::Failed;
    }
    file.close();
    unreadable_ = false;
    QString why;
    if (auto parsed = plist::parseDictionary(bytes, &why)) {
        *content = std::move(*parsed);
        lastRead_ = *content;
        stamp_ = stamp;
        return ReadResult::Read;
    }
    const QString aside = moveAside(path_);
    if (aside.isEmpty()) {
        problem_ = QStringLiteral("%1 cannot be read (%2) and cannot be moved aside: %3")
                       .arg(path_, why, reason(errno));
        NSLog("Preferences: %s; it is left as it is", qPrintable(problem_));
        return ReadResult::Failed;
    }
    NSLog("Preferences: %s cannot be read (%s); moved it aside to %s", qPrintable(path_),
          qPrintable(why), qPrintable(aside));
    setAside_ = aside;
    return ReadResult::SetAside;
}

bool DefaultsStore::writeFile(const QVariantMap& content) {
    // Unbuffered, so that a write the disk does not take whole (no space, a quota) fails here and
    // the temporary file is thrown away instead of replacing the good file with a short one.
    QSaveFile file(path_);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return fail(QStringLiteral("cannot write %1: %2").arg(path_, reason(errno)));
    const QByteArray bytes = plist::toXml(content);
    const bool whole = ::fchmod(file.handle(), kFileMode) == 0 &&
                       file.write(bytes) == bytes.size() && file.error() == QFileDevice::NoError;
    const int error = errno;
    if (!whole) {
        file.cancelWriting();
        file.commit();  // removes the temporary file
        return fail(QStringLiteral("cannot write %1: %2")
                        .arg(path_, error ? reason(error) : file.errorString()));
    }
    if (!file.commit())
        return fail(QStringLiteral("cannot write %1: %2").arg(path_, file.errorString()));
    lastRead_ = content;
    stamp_ = currentStamp();
    return true;
}

}  // namespace orvella::settings
