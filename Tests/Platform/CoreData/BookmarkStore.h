#pragma once

#include <Marblewick/NSManagedObjectContext.h>

#include <QStringList>

/*! The model of the framework's own store. */
std::shared_ptr<const Marblewick::NSManagedObjectModel> bookmarkModel();

/*! A store of bookmarks that is opened at a path, with a context. */
class BookmarkStore
{
public:
    static QVariantMap migrating();

    explicit BookmarkStore(const QString &path, const QVariantMap &options = migrating());

    bool isOpen() const { return m_isOpen; }
    /*! Of the step that failed last. */
    const Marblewick::NSError &error() const { return m_error; }
    Marblewick::NSManagedObjectContext &context() { return m_context; }

    /*! Inserts a bookmark, which is not saved. */
    Marblewick::NSManagedObject *insert(const QString &urlString);
    bool save() { return m_context.save(&m_error); }
    /*! All bookmarks that are fetched; none where that fails. */
    QList<Marblewick::NSManagedObject *> bookmarks();
    bool canFetch();
    /*! Their URL strings. */
    QStringList urlStrings();

private:
    Marblewick::NSManagedObjectContext m_context{Marblewick::NSMainQueueConcurrencyType};
    Marblewick::NSError m_error;
    bool m_isOpen = false;
};

/*! What another program does to an SQLite file, which it makes where there is none. */
class OtherConnection
{
public:
    explicit OtherConnection(const QString &path);
    ~OtherConnection();
    OtherConnection(const OtherConnection &) = delete;
    OtherConnection &operator=(const OtherConnection &) = delete;

    void execute(const QByteArray &sql);
    /*! The first column of the first row. */
    QByteArray result(const QByteArray &sql);

private:
    void *m_handle = nullptr;
};

/*! Makes a store of layout 1, which has neither `isReadOnly` nor `isUnresolvable`, with these bookmarks. */
void makeStoreOfLayout1(const QString &path, const QStringList &urlStrings);
