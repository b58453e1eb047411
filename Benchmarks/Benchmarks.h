#pragma once

/*! One function for each group of figures; each prints its rows. */
void benchmarkBookmarks();
void benchmarkCheck();
void benchmarkChecksum();
void benchmarkCrashLog();
void benchmarkCrashLogInstall();
void benchmarkEncryption();
void benchmarkException();
void benchmarkFeed();
void benchmarkHexadecimal();
void benchmarkLaunch();
void benchmarkUpdateCheck();
void benchmarkLog();
void benchmarkPanels();
void benchmarkRichText();
void benchmarkSandbox();
void benchmarkStore();
void benchmarkUpload();
