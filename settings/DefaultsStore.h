#pragma once
// The application's user defaults: a persistent domain kept in a property-list file and a
// registration domain of defaults that apply while the user has not set a key (registered
// defaults are never written). Values follow the representation of PlistCodec.h.
//
// Every write takes a lock file shared with every other process using the same file (the
// application, orvellactl), re-reads the file, lays this process's changes over what it found, in
// the order they were made, and writes the result atomically. So a process never drops another's
// keys, and a crash mid-write leaves the old file whole. A change to a value another process may
// change too (a dictionary such as "Settings") goes through `modify`: its read-copy-change-store
// runs again on the file's current content under the lock.
//
// A file that does not parse is moved aside to "<name>.corrupt-<timestamp>" (the log says where)
// and never overwritten; what this process last read from a good file is kept. A write that does
// not reach the disk whole (a full disk, a quota) leaves the old file in place and keeps the
// changes for the next write. The file is private to its user (mode 0600): it tells which cameras
// a person has.
//
// Threads. The store belongs to the thread that made it (the owner); every member function is
// called there. By default the owner does the file's work itself: `save` and `synchronize` write
// before they return (orvellactl, tests). After `enableBackgroundWrites` a writer thread of the
// store's own does it instead:
//   - changes (setObject, removeObject, modify) update the owner's view at once, so reads see
//     them, and are queued in order; `save` only wakes the writer;
//   - the writer takes the queue and writes it at most once per interval, so changes made while a
//     write is under way or shortly after go out together in the next write;
//   - a `modify` change runs twice: at once on the owner's view (its result is what the caller
//     gets), and again on the writer thread over the file's content read under the lock. It must
//     therefore work only on the DefaultsDomain it is given and on what it captured by value, and
//     not change its captures (it may run on either thread, and more than once);
//   - what the writer learns (the content written, other processes' keys, a problem, a file set
//     aside) and its log lines reach the owner through a mutex-guarded list that the owner takes
//     in from its event loop (a queued call) or in `synchronize`. The owner's view is always the
//     last content written or read, with the changes not yet written laid over it;
//   - `synchronize` (also `flush`) blocks until everything changed before the call is written and
//     the file's content is taken in: for quitting, sleep, and a lookup that must see other
//     processes' latest writes. The destructor writes what is left.
// The file itself is only ever touched by one thread at a time: the owner before
// enableBackgroundWrites, the writer after.

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

class QObject;

namespace orvella::settings {

// The persistent keys as a `modify` change sees and changes them (registered defaults are not
// part of it). Reads are typed as DefaultsStore's.
class DefaultsDomain {
  public:
    explicit DefaultsDomain(QVariantMap& values) : values_(values) {}
    QVariant objectForKey(const QString& key) const { return values_.value(key); }
    QVariantMap dictionaryForKey(const QString& key) const;
    QVariantList arrayForKey(const QString& key) const;
    // An invalid QVariant (or one with no property-list form) removes the key.
    void setObject(const QVariant& value, const QString& key);
    void removeObject(const QString& key) { values_.remove(key); }

  private:
    QVariantMap& values_;
};

class DefaultsStore {
  public:
    using Change = std::function<void(DefaultsDomain&)>;
    // How often the writer thread writes at most while changes keep coming.
    static constexpr std::chrono::milliseconds kWriteInterval{50};

    // The store kept in `path`; reads it at once. The directory is created on the first write.
    explicit DefaultsStore(const QString& path = defaultPath());
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;
    // Writes what is left (with background writes) and stops the writer.
    ~DefaultsStore();

    // $XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist, ~/.config when the variable is unset.
    static QString defaultPath();
    const QString& path() const { return path_; }

    // Hands the file's work to a writer thread (see the threading notes above). The owner thread
    // needs an event loop to take in the writer's results between synchronize calls. Once only.
    void enableBackgroundWrites(std::chrono::milliseconds interval = kWriteInterval);
    bool backgroundWrites() const { return writer_.joinable(); }

    // ---- Registration domain ----
    // Adds to the registered defaults (a key registered again takes the new value).
    void registerDefaults(const QVariantMap& defaults);

    // ---- Reads: the persistent value, else the registered one ----
    QVariant objectForKey(const QString& key) const;
    // A missing key, or one holding another type, reads as the type's empty value. Integer and
    // boolean reads take any number (a boolean reads as 0 or 1, a real is truncated).
    QVariantMap dictionaryForKey(const QString& key) const;
    QVariantList arrayForKey(const QString& key) const;
    qint64 integerForKey(const QString& key) const;
    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;

    // ---- Changes, kept until written ----
    // An invalid QVariant (or one with no property-list form) removes the key.
    void setObject(const QVariant& value, const QString& key);
    void setValue(const QVariant& value, const QString& key) { setObject(value, key); }
    void setInteger(qint64 value, const QString& key) { setObject(QVariant(value), key); }
    void setBool(bool value, const QString& key) { setObject(QVariant(value), key); }
    void removeObject(const QString& key);

    // Writes this process's changes and takes in everybody else's, before returning. False (and
    // logged) when the lock cannot be had or the file cannot be written; the changes are then
    // kept for the next write.
    bool synchronize();
    bool flush() { return synchronize(); }
    // Has the changes written: at once (as synchronize) without background writes, else by the
    // writer thread shortly (true; a failure shows later in problem() and the log).
    bool save();
    // Reads the file again: at once without background writes; else the writer reads it shortly
    // and the owner takes it in, calling the handler of setChangedElsewhereHandler.
    void refresh();
    // With background writes, called on the owner thread when content taken in from the writer
    // holds keys another process wrote.
    void setChangedElsewhereHandler(std::function<void()> handler) {
        changedElsewhere_ = std::move(handler);
    }

    // Runs `change` (callable with DefaultsDomain&, optionally returning a result) on the file's
    // current content with the lock held, and writes. Without background writes: nullopt (false
    // for a change without a result) when the lock cannot be had (the change has not run) or the
    // file cannot be written (the change is kept for the next write). With them, the change runs
    // at once on this process's view and again under the lock on the writer thread; the result is
    // the first run's. See the threading notes for what a change may capture.
    template <typename ChangeFn>
    auto modify(ChangeFn change) {
        using Result = std::invoke_result_t<const ChangeFn&, DefaultsDomain&>;
        Change replay = [change](DefaultsDomain& domain) { change(domain); };
        if constexpr (std::is_void_v<Result>) {
            return modifyWith(std::move(replay), {});
        } else {
            std::optional<Result> result;
            const bool written = modifyWith(
                std::move(replay), [&](DefaultsDomain& domain) { result = change(domain); });
            if (!written) result.reset();
            return result;
        }
    }

    // The persistent domain as this process sees it (the file's content and pending changes).
    const QVariantMap& persistentDomain() const { return values_; }
    // True while changes wait to be written.
    bool hasPendingChanges() const { return !unwritten_.empty(); }
    // True when the file is no longer the one this store last read or wrote: another process
    // wrote it (or removed it) since.
    bool changedOnDisk() const;
    // Where this store last moved a file that did not parse, empty when it never did.
    const QString& setAsidePath() const { return setAside_; }
    // Why the last read or write of the file failed, in words for the user ("cannot write
    // <file>: no space left on device"); empty after one that succeeded.
    const QString& problem() const { return problem_; }
    // True when the file is there but could not be read (permissions, an I/O error), so what
    // this store holds is not what the file holds.
    bool unreadable() const { return unreadable_; }
    // How many times this store has written the file.
    std::uint64_t writeCount() const;

  private:
    // One change in the order made: a key set (value) or removed (nullopt), or a modify change.
    struct Op {
        std::uint64_t seq = 0;
        QString key;
        std::optional<QVariant> value;
        Change change;
        void apply(QVariantMap& values) const;
    };
    struct Stamp {
        unsigned long long device = 0, inode = 0;
        long long size = 0, seconds = 0, nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };
    // What one pass over the file found and did, for the owner to take in.
    struct Outcome {
        bool ok = false;
        std::optional<QVariantMap> content;  // the file's content after a pass that succeeded
        std::uint64_t lastSeq = 0;           // the last change that content holds
        bool changedElsewhere = false;       // it holds another process's writes
        QString problem;
        QString setAside;
        std::optional<bool> unreadable;
        std::vector<std::string> log;
    };
    // The file's side: touched only by the thread that does the file's work.
    struct Disk {
        QString path;
        std::optional<Stamp> stamp;  // the file as last read or written, so it is not parsed again
        QVariantMap lastRead;        // the content last read or written whole
        std::deque<Op> batch;        // changes taken from the queue and not yet written
        std::uint64_t batchSeq = 0;  // the last change taken into the batch
    };
    enum class ReadResult { Read, Missing, SetAside, Failed };

    bool modifyWith(Change replay, const Change& firstRun);
    void enqueue(Op op);
    Outcome pass(const Change& firstRun, bool* ran);
    ReadResult readFile(QVariantMap* content, Outcome* outcome);
    bool writeFile(const QVariantMap& content, Outcome* outcome);
    bool fail(Outcome* outcome, const QString& problem);
    void takeIn(Outcome outcome);
    void takeInAll();
    void writerLoop();
    std::optional<Stamp> currentStamp() const;

    QString path_;
    QVariantMap registered_;
    // The owner's view: `base_` (the content last written or read) with `unwritten_` laid over.
    QVariantMap values_;
    QVariantMap base_;
    std::deque<Op> unwritten_;
    std::uint64_t nextSeq_ = 0;
    QString setAside_;
    QString problem_;
    bool unreadable_ = false;
    std::function<void()> changedElsewhere_;

    Disk disk_;

    // Shared between the owner and the writer thread.
    mutable std::mutex mutex_;
    std::condition_variable wake_;              // the writer: changes, a request or the end
    std::condition_variable finished_;          // the owner: a request is served
    std::deque<Op> queue_;                      // changes not yet taken by the writer
    std::vector<Outcome> outcomes_;             // not yet taken in by the owner
    std::uint64_t requested_ = 0, served_ = 0;  // synchronize and refresh requests
    bool stop_ = false;
    std::optional<Stamp> diskStamp_;
    std::uint64_t writes_ = 0;

    std::chrono::milliseconds interval_{kWriteInterval};
    std::unique_ptr<QObject> receiver_;  // the owner's end of the queued calls
    std::thread writer_;
};

}  // namespace orvella::settings
