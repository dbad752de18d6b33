#include "notices/TRNoticesDownload.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <memory>

namespace {

constexpr int kStopPollMs = 100;

}  // namespace

namespace TRNoticesDownload {

std::variant<TRNotices, TRError> downloadNotices(const QUrl& address, const std::atomic_bool& stop,
                                                 int timeoutMs) {
    QNetworkAccessManager network;
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setTransferTimeout(timeoutMs);
    const std::unique_ptr<QNetworkReply> reply(network.get(request));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer stopWatch;
    QObject::connect(&stopWatch, &QTimer::timeout, reply.get(), [&stop, &reply] {
        if (stop.load()) reply->abort();
    });
    stopWatch.start(kStopPollMs);
    if (!reply->isFinished()) loop.exec();
    if (reply->error() != QNetworkReply::NoError) {
        return TRError(QString::fromLatin1(kNoticesErrorDomain), reply->error(),
                       reply->errorString());
    }
    return TRNoticesList::noticesFromPropertyList(reply->readAll());
}

}  // namespace TRNoticesDownload
