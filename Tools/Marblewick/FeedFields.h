#pragma once

#include <Marblewick/MBWSWUpdateInfo.h>

#include <QJsonObject>

#include <optional>

// A release's record as people write and read it: one JSON member for each field, named as in the feed.

/*! Sets the fields of a record that has none yet. What is wrong with the members otherwise: which field, why,
   and what is allowed; nil where nothing is.
*/
std::optional<QString> setFields(MBWSWUpdateInfo *record, const QJsonObject &members);

/*! What the system version of a record means to who wrote it, where that may surprise; nil elsewhere. */
std::optional<QString> warningAboutSystemVersion(const MBWSWUpdateInfo &record);

/*! The fields that are not nil, so that setFields() makes the same record. */
QJsonObject jsonOfRecord(const MBWSWUpdateInfo &record);

/*! A line for each field: its name and its value, or "(none)". */
QString textOfRecord(const MBWSWUpdateInfo &record);
