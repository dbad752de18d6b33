#pragma once
// TRStoreReporter: how the store tells the user and the log about failures.
//
// The store builds every line itself (the texts are fixed) and hands it over;
// it never logs on its own. The UI implements presentError() with a dialog;
// until then TRLoggingStoreReporter logs both kinds under the category
// "vorlix.store". Main thread only.

#include <QString>

#include "core/TRError.h"

class TRStoreReporter {
public:
    virtual ~TRStoreReporter() = default;
    virtual void presentError(const TRError& error) = 0;
    virtual void logLine(const QString& line) = 0;
};

class TRLoggingStoreReporter final : public TRStoreReporter {
public:
    void presentError(const TRError& error) override;
    void logLine(const QString& line) override;
};
