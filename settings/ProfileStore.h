#pragma once
// The profile store: per camera model (keyed by modelUniqueID, so every camera of a model shares
// them) a list of named settings records and one last-state record named "AppDefault" that follows
// every change, plus the index of the profile to load when a camera is first shown. It lives in
// the user defaults under "Settings" and "Load at Start"; every change reads the dictionary,
// copies it, changes the copy and stores it whole, with the defaults store's lock held so that
// another process's changes are never lost.
//
// Profiles are addressed as the profile lists show them (ProfileListModel): index 0 is the
// camera-default item, 1 a separator, 2 and on the model's named profiles in stored order. The
// store works on data only; the application's controller drives it and the lists follow its
// signals.

#include <QFileSystemWatcher>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "settings/DefaultsStore.h"
#include "settings/SettingsRecord.h"

namespace orvella::settings {

// The first list index that holds a profile.
constexpr int kFirstProfileIndex = 2;

class ProfileStore : public QObject {
    Q_OBJECT
  public:
    explicit ProfileStore(DefaultsStore& defaults, QObject* parent = nullptr);
    ~ProfileStore() override;

    DefaultsStore& defaults() { return defaults_; }

    // A typed name as it is stored: without white space and line ends around it.
    static QString trimmedName(const QString& typed);
    // True when a (trimmed) name holds a control character: such a name would make the file
    // unreadable as XML for every other reader, so it is never stored.
    static bool hasControlCharacters(const QString& name);

    // ---- Reading ----
    // The model's whole array (named profiles and last-state record), in stored order.
    QList<SettingsRecord> records(const QString& model) const;
    // The named profiles, in list order (list index = position + kFirstProfileIndex).
    QList<SettingsRecord> profiles(const QString& model) const;
    std::optional<SettingsRecord> profileAt(const QString& model, int listIndex) const;
    // The list index of the profile with this exact name, -1 when there is none.
    int listIndexOf(const QString& model, const QString& name) const;
    // The model's first last-state record.
    std::optional<SettingsRecord> appDefaultRecord(const QString& model) const;
    // True when the model has a record of exactly this name ("AppDefault" included).
    bool hasRecordNamed(const QString& model, const QString& name) const;
    // The list index of the model's load-at-start profile, -1 when none is marked.
    int loadAtStart(const QString& model) const;
    // The models that have records, sorted.
    QStringList models() const;

    // ---- Changing ----
    // The camera's state arrives as a settings record read on the camera's own thread
    // (readRecord in SettingsRecord.h); none means the camera was gone or did not answer, and
    // nothing is written from it (a half-read state would replace the user's settings).

    // Appends the state as a record named `name` (a last-state record when `isAppDefault`).
    // False when there is no state or the store cannot be written.
    bool saveSettings(const QString& name, bool isAppDefault, const QString& model,
                      const std::optional<SettingsRecord>& state);

    // Saving a profile under a name the user typed: the name is trimmed; a blank name saves
    // nothing; a name the model already has (its last-state record's "AppDefault" included) is
    // refused, so the caller can say so and ask again.
    enum class SaveResult { Saved, BlankName, InvalidName, NameTaken, NotWritten };
    struct SaveOutcome {
        SaveResult result = SaveResult::NotWritten;
        QString name;        // the trimmed name
        int listIndex = -1;  // where the new profile stands in the lists, when saved
    };
    // The outcome for a name that cannot be saved whatever the camera holds (blank, control
    // characters); none for a name worth reading the camera for.
    static std::optional<SaveOutcome> refuseName(const QString& typedName);
    SaveOutcome saveNewProfile(const QString& typedName, const QString& model,
                               const std::optional<SettingsRecord>& state);

    // Lays `state` (the entries of one setting identifier, or a whole record) over the model's
    // last-state record; creates the record from `state` when the model has none and `state` is
    // whole. False when there is no state or nothing could be written.
    bool updateSettings(const QString& model, const std::optional<SettingsRecord>& state,
                        bool stateIsWhole);
    // True when the model has a last-state record, so a change needs only its own entries.
    bool hasAppDefault(const QString& model) const { return appDefaultRecord(model).has_value(); }

    // The model's last-state records, to apply in this order when a camera of it appears.
    QList<SettingsRecord> appDefaultRecords(const QString& model) const;

    // Lays the state over the profile at a list index, keeping its name and flags. With `shown`,
    // the record the caller's list shows there: when another process has moved the profiles
    // meanwhile, the record equal to it is updated instead (none, when it is gone).
    bool updateProfile(int listIndex, const QString& model,
                       const std::optional<SettingsRecord>& state,
                       const SettingsRecord* shown = nullptr);

    // Deletes the profile at a list index (indices below 2 delete nothing). Whatever the index,
    // the model's "Load at Start" entry is forgotten afterwards, whichever profile carried it.
    bool deleteSettings(const QString& model, int listIndex, const SettingsRecord* shown = nullptr);

    // Looks the named profile up in the file's current content, read (and this process's changes
    // written) first, so that a profile another process saved or deleted meanwhile is taken into
    // account. Deleting by name
    // deletes that profile or none, never the one that moved into its place.
    std::optional<SettingsRecord> currentProfileNamed(const QString& model, const QString& name);
    enum class NamedResult { Done, NoSuchProfile, NotWritten };
    NamedResult deleteProfileNamed(const QString& model, const QString& name);

    // Marks the profile at a list index (0, the camera default, too) to be loaded at start.
    bool setLoadAtStart(const QString& model, int listIndex);

    // Tidies "Settings" at start-up: models without records disappear, and several records of
    // one name collapse into the last of them, which takes that last one's place. Entries of
    // another type than the store writes (a model whose entry is not a list, a record that is not
    // a dictionary) are the user's data all the same: they are kept as they are.
    bool cleanDefaults();

    // Why the last change was refused when the preferences themselves could be written (an
    // entry of an unexpected type stands where the change would go); empty otherwise.
    const QString& problem() const { return problem_; }

    // Takes in what other processes wrote and tells the lists (at once: it waits for the
    // file's work).
    void reload();
    // Watches the preferences file (with the event loop running) and reloads whenever another
    // process, orvellactl for one, has written it; with background writes the file is read on
    // the defaults store's writer thread and the lists are told when it is taken in.
    void watchForOtherProcesses();

  signals:
    // A model's list of profiles changed; an empty model means any model.
    void profilesChanged(const QString& model);
    // A model's load-at-start mark changed.
    void loadAtStartChanged(const QString& model);
    // Sent after profilesChanged: a profile was saved, or overwritten with the camera's state, and
    // is the profile in force at that list index; or one was deleted and none is in force.
    void profileSaved(const QString& model, int listIndex);
    void profileUpdated(const QString& model, int listIndex);
    void profileDeleted(const QString& model, int listIndex);

  private:
    void reportKept(const QString& where, const QVariant& value, const char* expected);
    // Reports what a change left as it was; true when the change was made and written.
    template <typename Outcome>
    bool reported(const std::optional<Outcome>& outcome);
    // Where a profile stands in a model's list; it runs under the defaults store's lock, possibly
    // on its writer thread, so it captures by value.
    using Position = std::function<qsizetype(const QVariantList&)>;
    bool deleteAt(const QString& model, const Position& position, bool* found, int* listIndex);

    DefaultsStore& defaults_;
    QString problem_;
    QSet<QString> reported_;
    QFileSystemWatcher* watcher_ = nullptr;
};

}  // namespace orvella::settings
