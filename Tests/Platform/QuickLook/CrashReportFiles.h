#pragma once

#include <QByteArray>

/*! An `.ips` file with this body. */
inline QByteArray reportWithBody(const QByteArray &body)
{
    return "{\"bug_type\":\"309\",\"app_name\":\"Lantern\"}\n" + body;
}

/*! The same, from a body written with ' in the place of ". */
inline QByteArray reportWithQuoted(QByteArray body) { return reportWithBody(body.replace('\'', '"')); }
