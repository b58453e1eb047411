#pragma once

#include <QtGlobal>

/*! A socket that listens on a free port of 127.0.0.1, which `port` receives. The caller closes it. */
int listenOnLoopback(quint16 *port);
