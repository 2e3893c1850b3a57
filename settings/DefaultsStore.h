#pragma once
// The application's user defaults: a persistent domain kept in a property-list file and a
// registration domain of defaults that apply while the user has not set a key (registered
// defaults are never written). Values follow the representation of PlistCodec.h.
//
// Changes are held in memory until `synchronize`, which takes a lock file shared with every other
// process using the same file (the application, orvellactl), re-reads the file, lays this
// process's changed keys over what it found, and writes the result atomically. So a process never
// drops another's keys, and a crash mid-write leaves the old file whole. Callers that change a
// value another process may change too (a dictionary such as "Settings") use `modify`, which runs
// their read-copy-change-store on the file's current content while holding the lock.
//
// A file that does not parse is moved aside to "<name>.corrupt-<timestamp>" (the log says where)
// and never overwritten; what this process last read from a good file is kept. A write that does
// not reach the disk whole (a full disk, a quota) leaves the old file in place. The file is
// private to its user (mode 0600): it tells which cameras a person has. Used from one thread.

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <map>
#include <optional>

namespace orvella::settings {

class DefaultsStore {
  public:
    // The store kept in `path`; reads it at once. The directory is created on the first write.
    explicit DefaultsStore(const QString& path = defaultPath());
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;

    // $XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist, ~/.config when the variable is unset.
    static QString defaultPath();
    const QString& path() const { return path_; }

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

    // ---- Writes, kept until synchronize ----
    // An invalid QVariant (or one with no property-list form) removes the key.
    void setObject(const QVariant& value, const QString& key);
    void setValue(const QVariant& value, const QString& key) { setObject(value, key); }
    void setInteger(qint64 value, const QString& key) { setObject(QVariant(value), key); }
    void setBool(bool value, const QString& key) { setObject(QVariant(value), key); }
    void removeObject(const QString& key);

    // Writes this process's changes and takes in everybody else's. False (and logged) when the
    // lock cannot be had or the file cannot be written; the changes are then kept for the next
    // call.
    bool synchronize();

    // Runs `change` (which reads and sets keys on this store) on the file's current content with
    // the lock held, then writes. False as for synchronize; `change` has not run when the lock
    // could not be had. Inside `change`, synchronize and modify do not take the lock again:
    // synchronize does nothing and modify runs its change at once.
    bool modify(const std::function<void()>& change);

    // The persistent domain as this process sees it (the file's content and pending changes).
    const QVariantMap& persistentDomain() const { return values_; }
    // True while changes wait for synchronize.
    bool hasPendingChanges() const { return !pending_.empty(); }
    // True when the file is no longer the one this store last read or wrote: another process
    // wrote it (or removed it) since.
    bool changedOnDisk() const { return currentStamp() != stamp_; }
    // Where this store last moved a file that did not parse, empty when it never did.
    const QString& setAsidePath() const { return setAside_; }
    // Why the last read or write of the file failed, in words for the user ("cannot write
    // <file>: no space left on device"); empty after one that succeeded.
    const QString& problem() const { return problem_; }
    // True when the file is there but could not be read (permissions, an I/O error), so what
    // this store holds is not what the file holds.
    bool unreadable() const { return unreadable_; }

  private:
    enum class ReadResult { Read, Missing, SetAside, Failed };
    bool lockedSync(const std::function<void()>& change);
    ReadResult readFile(QVariantMap* content);
    bool writeFile(const QVariantMap& content);

    QString path_;
    QVariantMap registered_;
    QVariantMap values_;  // the file's content with pending laid over
    std::map<QString, std::optional<QVariant>> pending_;  // nullopt: removed
    QString setAside_;
    QString problem_;
    bool unreadable_ = false;
    bool fail(const QString& problem);
    // The file as this process last read or wrote it, so an unchanged file is not parsed again.
    struct Stamp {
        unsigned long long device = 0, inode = 0;
        long long size = 0, seconds = 0, nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };
    std::optional<Stamp> stamp_;
    QVariantMap lastRead_;
    std::optional<Stamp> currentStamp() const;
    bool locked_ = false;  // a synchronize or modify is under way
};

}  // namespace orvella::settings
