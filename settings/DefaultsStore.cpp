#include "settings/DefaultsStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMetaObject>
#include <QObject>
#include <QSaveFile>
#include <QStorageInfo>

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

// Less free room than this on the preferences' disk and a lock file cannot be made.
constexpr qint64 kLockRoom = 4096;

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
            // A lock file that cannot even be made on a full disk is no stale lock.
            const QStorageInfo disk(info.absolutePath());
            if (!info.exists() && disk.isValid() && disk.bytesAvailable() < kLockRoom)
                return QStringLiteral("cannot create the lock file %1: no space left on the disk")
                    .arg(lockPath);
            return QStringLiteral(
                       "cannot take the lock file %1; if no Orvella or orvellactl "
                       "runs, remove it")
                .arg(lockPath);
        }
    }
}

QVariantMap asDictionary(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

QVariantList asArray(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

std::string line(const QString& text) {
    return text.toUtf8().toStdString();
}

}  // namespace

QVariantMap DefaultsDomain::dictionaryForKey(const QString& key) const {
    return asDictionary(objectForKey(key));
}

QVariantList DefaultsDomain::arrayForKey(const QString& key) const {
    return asArray(objectForKey(key));
}

void DefaultsDomain::setObject(const QVariant& value, const QString& key) {
    const QVariant plain = plist::normalized(value);
    if (plain.isValid())
        values_.insert(key, plain);
    else
        values_.remove(key);
}

void DefaultsStore::Op::apply(QVariantMap& values) const {
    if (change) {
        DefaultsDomain domain(values);
        change(domain);
    } else if (value) {
        values.insert(key, *value);
    } else {
        values.remove(key);
    }
}

DefaultsStore::DefaultsStore(const QString& path) : path_(path) {
    disk_.path = path_;
    Outcome first = pass({}, nullptr);
    const bool read = first.ok, unreadable = first.unreadable.value_or(false);
    takeIn(std::move(first));
    if (read || unreadable) return;
    // No lock could be had: read what is there without setting anything aside.
    QFile file(path_);
    if (file.open(QIODevice::ReadOnly)) {
        if (auto content = plist::parseDictionary(file.read(plist::kMaxBytes + 1), nullptr)) {
            values_ = base_ = disk_.lastRead = *content;
        }
    } else if (file.exists()) {
        problem_ = QStringLiteral("cannot read %1: %2").arg(path_, reason(errno));
        NSLog("Preferences: %s; changes are kept for later", qPrintable(problem_));
        unreadable_ = true;
    }
}

DefaultsStore::~DefaultsStore() {
    if (!writer_.joinable()) return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    writer_.join();
    // The owner of a handler may be gone already; the log lines of the last write still count.
    changedElsewhere_ = nullptr;
    takeInAll();
    receiver_.reset();
}

QString DefaultsStore::defaultPath() {
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty() || !QDir::isAbsolutePath(config))
        config = QDir::homePath() + QStringLiteral("/.config");
    return config + QStringLiteral("/orvella/org.orvella.Orvella.plist");
}

void DefaultsStore::enableBackgroundWrites(std::chrono::milliseconds interval) {
    if (writer_.joinable()) return;
    interval_ = interval;
    receiver_ = std::make_unique<QObject>();
    // From here on only the writer touches disk_; starting the thread publishes it.
    writer_ = std::thread([this] { writerLoop(); });
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
    return asDictionary(objectForKey(key));
}

QVariantList DefaultsStore::arrayForKey(const QString& key) const {
    return asArray(objectForKey(key));
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
    Op op;
    op.key = key;
    const QVariant plain = plist::normalized(value);
    if (plain.isValid()) op.value = plain;
    op.apply(values_);
    enqueue(std::move(op));
}

void DefaultsStore::removeObject(const QString& key) {
    Op op;
    op.key = key;
    op.apply(values_);
    enqueue(std::move(op));
}

void DefaultsStore::enqueue(Op op) {
    op.seq = ++nextSeq_;
    unwritten_.push_back(op);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back(std::move(op));
    }
    if (backgroundWrites()) wake_.notify_all();
}

bool DefaultsStore::synchronize() {
    if (!backgroundWrites()) {
        Outcome outcome = pass({}, nullptr);
        const bool ok = outcome.ok;
        takeIn(std::move(outcome));
        return ok;
    }
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const std::uint64_t ticket = ++requested_;
        wake_.notify_all();
        finished_.wait(lock, [&] { return served_ >= ticket; });
    }
    takeInAll();
    return problem_.isEmpty();
}

bool DefaultsStore::save() {
    // With background writes every change has already woken the writer.
    return backgroundWrites() ? true : synchronize();
}

void DefaultsStore::refresh() {
    if (!backgroundWrites()) {
        synchronize();
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++requested_;
    }
    wake_.notify_all();
}

bool DefaultsStore::modifyWith(Change replay, const Change& firstRun) {
    const Change& now = firstRun ? firstRun : replay;
    if (backgroundWrites()) {
        DefaultsDomain domain(values_);
        now(domain);
        Op op;
        op.change = std::move(replay);
        enqueue(std::move(op));
        return true;
    }
    bool ran = false;
    Outcome outcome = pass(now, &ran);
    const bool ok = outcome.ok;
    if (ran && !ok) {
        // The change ran but was not written: it waits, like any other, for the next write.
        Op op;
        op.change = std::move(replay);
        op.seq = ++nextSeq_;
        op.apply(values_);
        unwritten_.push_back(op);
        disk_.batchSeq = op.seq;
        disk_.batch.push_back(std::move(op));
    }
    takeIn(std::move(outcome));
    return ok;
}

bool DefaultsStore::changedOnDisk() const {
    std::optional<Stamp> known;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        known = diskStamp_;
    }
    return currentStamp() != known;
}

std::uint64_t DefaultsStore::writeCount() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return writes_;
}

// ---- The owner's side of the writer's results ----

void DefaultsStore::takeIn(Outcome outcome) {
    for (const std::string& text : outcome.log)
        NSLog("%s", text.c_str());
    if (!outcome.setAside.isEmpty()) setAside_ = outcome.setAside;
    if (outcome.unreadable) unreadable_ = *outcome.unreadable;
    if (!outcome.ok) {
        if (!outcome.problem.isEmpty()) problem_ = outcome.problem;
        return;
    }
    problem_.clear();
    base_ = std::move(*outcome.content);
    while (!unwritten_.empty() && unwritten_.front().seq <= outcome.lastSeq)
        unwritten_.pop_front();
    values_ = base_;
    for (const Op& op : unwritten_)
        op.apply(values_);
}

void DefaultsStore::takeInAll() {
    std::vector<Outcome> outcomes;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        outcomes.swap(outcomes_);
    }
    bool elsewhere = false;
    for (Outcome& outcome : outcomes) {
        elsewhere = elsewhere || (outcome.ok && outcome.changedElsewhere);
        takeIn(std::move(outcome));
    }
    // Last: the handler may read and change the store.
    if (elsewhere && changedElsewhere_) changedElsewhere_();
}

// ---- The writer thread ----

void DefaultsStore::writerLoop() {
    using Clock = std::chrono::steady_clock;
    Clock::time_point lastStart{};
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [&] { return stop_ || !queue_.empty() || requested_ != served_; });
        // Changes alone wait for the interval since the last write began, so that a stream of
        // changes (a slider being dragged) is written a few times a second, not once per step.
        if (!stop_ && requested_ == served_)
            wake_.wait_until(lock, lastStart + interval_,
                             [&] { return stop_ || requested_ != served_; });
        const bool stopping = stop_;
        const std::uint64_t serving = requested_;
        const bool idle = queue_.empty() && disk_.batch.empty() && serving == served_;
        if (!(stopping && idle)) {
            lock.unlock();
            lastStart = Clock::now();
            Outcome outcome = pass({}, nullptr);
            lock.lock();
            outcomes_.push_back(std::move(outcome));
        }
        served_ = serving;
        finished_.notify_all();
        if (stopping) return;
        lock.unlock();
        QMetaObject::invokeMethod(
            receiver_.get(), [this] { takeInAll(); }, Qt::QueuedConnection);
        lock.lock();
    }
}

// ---- One pass over the file: on the owner before background writes, on the writer after ----

DefaultsStore::Outcome DefaultsStore::pass(const Change& firstRun, bool* ran) {
    Outcome out;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (Op& op : queue_) {
            disk_.batchSeq = op.seq;
            disk_.batch.push_back(std::move(op));
        }
        queue_.clear();
    }
    const struct PublishStamp {
        DefaultsStore& store;
        ~PublishStamp() {
            const std::lock_guard<std::mutex> lock(store.mutex_);
            store.diskStamp_ = store.disk_.stamp;
        }
    } publish{*this};

    const QString directory = QFileInfo(path_).absolutePath();
    if (!QDir().mkpath(directory)) {
        fail(&out, QStringLiteral("cannot create the folder %1").arg(directory));
        return out;
    }
    const QString lockPath = path_ + QStringLiteral(".lock");
    // A folder or another user's file in the lock's place never goes away by waiting.
    const QFileInfo lockInfo(lockPath);
    if (lockInfo.isDir() || (lockInfo.exists() && lockInfo.ownerId() != ::geteuid())) {
        fail(&out, lockProblem(QLockFile(lockPath), lockPath));
        return out;
    }
    QLockFile lock(lockPath);
    if (!lock.tryLock(kLockTimeoutMs)) {
        fail(&out, lockProblem(lock, lockPath));
        return out;
    }

    QVariantMap onDisk, work;
    bool mustWrite = false;
    switch (readFile(&onDisk, &out)) {
        case ReadResult::Read:
        case ReadResult::Missing:
            work = onDisk;
            break;
        case ReadResult::SetAside:
            // The last good content this process read stays; write it back in place of the
            // file set aside.
            work = disk_.lastRead;
            mustWrite = !work.isEmpty() || !disk_.batch.empty();
            break;
        case ReadResult::Failed:
            return out;
    }
    for (const Op& op : disk_.batch)
        op.apply(work);
    if (firstRun) {
        DefaultsDomain domain(work);
        firstRun(domain);
        if (ran) *ran = true;
    }
    if ((mustWrite || work != onDisk) && !writeFile(work, &out)) return out;
    out.ok = true;
    out.content = std::move(work);
    out.lastSeq = disk_.batchSeq;
    disk_.batch.clear();
    return out;
}

bool DefaultsStore::fail(Outcome* outcome, const QString& problem) {
    outcome->problem = problem;
    outcome->log.push_back(
        line(QStringLiteral("Preferences: %1; changes are kept for later").arg(problem)));
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

DefaultsStore::ReadResult DefaultsStore::readFile(QVariantMap* content, Outcome* out) {
    // Every write replaces the file (a new inode), so an unchanged stamp is unchanged content.
    const std::optional<Stamp> stamp = currentStamp();
    if (stamp && stamp == disk_.stamp) {
        *content = disk_.lastRead;
        return ReadResult::Read;
    }
    disk_.stamp.reset();
    QFile file(path_);
    if (!file.exists()) {
        out->unreadable = false;
        return ReadResult::Missing;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        const int error = errno;
        out->unreadable = true;
        fail(out, QStringLiteral("cannot read %1: %2").arg(path_, reason(error)));
        return ReadResult::Failed;
    }
    // One byte past the reader's limit is enough to refuse a file that is too large.
    const QByteArray bytes = file.read(plist::kMaxBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        out->unreadable = true;
        fail(out, QStringLiteral("cannot read %1: %2").arg(path_, file.errorString()));
        return ReadResult::Failed;
    }
    file.close();
    out->unreadable = false;
    QString why;
    if (auto parsed = plist::parseDictionary(bytes, &why)) {
        *content = std::move(*parsed);
        out->changedElsewhere = *content != disk_.lastRead;
        disk_.lastRead = *content;
        disk_.stamp = stamp;
        return ReadResult::Read;
    }
    const QString aside = moveAside(path_);
    if (aside.isEmpty()) {
        out->problem = QStringLiteral("%1 cannot be read (%2) and cannot be moved aside: %3")
                           .arg(path_, why, reason(errno));
        out->log.push_back(
            line(QStringLiteral("Preferences: %1; it is left as it is").arg(out->problem)));
        return ReadResult::Failed;
    }
    out->log.push_back(
        line(QStringLiteral("Preferences: %1 cannot be read (%2); moved it aside to %3")
                 .arg(path_, why, aside)));
    out->setAside = aside;
    return ReadResult::SetAside;
}

bool DefaultsStore::writeFile(const QVariantMap& content, Outcome* out) {
    // Unbuffered, so that a write the disk does not take whole (no space, a quota) fails here and
    // the temporary file is thrown away instead of replacing the good file with a short one.
    QSaveFile file(path_);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return fail(out, QStringLiteral("cannot write %1: %2").arg(path_, reason(errno)));
    const QByteArray bytes = plist::toXml(content);
    const bool whole = ::fchmod(file.handle(), kFileMode) == 0 &&
                       file.write(bytes) == bytes.size() && file.error() == QFileDevice::NoError;
    const int error = errno;
    if (!whole) {
        file.cancelWriting();
        file.commit();  // removes the temporary file
        return fail(out, QStringLiteral("cannot write %1: %2")
                             .arg(path_, error ? reason(error) : file.errorString()));
    }
    if (!file.commit())
        return fail(out, QStringLiteral("cannot write %1: %2").arg(path_, file.errorString()));
    disk_.lastRead = content;
    disk_.stamp = currentStamp();
    const std::lock_guard<std::mutex> lock(mutex_);
    ++writes_;
    return true;
}

}  // namespace orvella::settings
