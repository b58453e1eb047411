#pragma once

/*! One function for each group of figures; each prints its rows. */
void benchmarkCheck();
void benchmarkChecksum();
void benchmarkEncryption();
void benchmarkHexadecimal();
void benchmarkLaunch();
void benchmarkPanels();
void benchmarkRichText();
void benchmarkUpload();
