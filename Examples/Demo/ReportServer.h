#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

/*! A crash report endpoint on loopback that keeps what it receives. */
class ReportServer
{
public:
    struct Request
    {
        QByteArray line;
        std::vector<QByteArray> headerFields;
        /*! Name and contents of each field of the form. */
        std::vector<std::pair<QByteArray, QByteArray>> formFields;
    };

    ReportServer();
    ~ReportServer();

    /*! The endpoint's address; empty where no port of loopback could be had. */
    QString url() const;
    /*! The requests so far, and forgets them. */
    std::vector<Request> takeRequests();

private:
    struct Private;
    const std::unique_ptr<Private> d;
};
