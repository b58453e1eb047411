#pragma once

#include <QString>

/*! The folder, of those in which logs are looked for, that takes the ones that the host writes itself:
    `Logs/DiagnosticReports` in the user's state folder. Whether it exists is not looked at. Any thread.
*/
QString diagnosticReportsFolder();

/*! The other one, for logs that come from elsewhere: `Logs/CrashReporter`. */
QString crashReporterFolder();
