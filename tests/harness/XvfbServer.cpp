#include "XvfbServer.h"

#include <QStandardPaths>

XvfbServer::~XvfbServer() {
    stop();
}

bool XvfbServer::start(QString* whyNot) {
    const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (xvfb.isEmpty()) {
        *whyNot = QStringLiteral("Xvfb is not installed");
        return false;
    }
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process->start(
        xvfb, {QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1280x1024x24"),
               QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset"),
               QStringLiteral("-displayfd"), QStringLiteral("1")});
    if (!m_process->waitForStarted(5000) || !m_process->waitForReadyRead(10000)) {
        *whyNot = QStringLiteral("Xvfb did not start");
        return false;
    }
    const QString number = QString::fromUtf8(m_process->readLine()).trimmed();
    if (number.isEmpty()) {
        *whyNot = QStringLiteral("Xvfb gave no display number");
        return false;
    }
    m_display = QStringLiteral(":") + number;
    return true;
}

void XvfbServer::stop() {
    if (!m_process || m_process->state() == QProcess::NotRunning) {
        return;
    }
    m_process->terminate();
    if (!m_process->waitForFinished(2000)) {
        m_process->kill();
        m_process->waitForFinished(2000);
    }
}

bool XvfbServer::run(const QString& program, const QStringList& arguments) const {
    QProcess client;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    client.setProcessEnvironment(environment);
    client.start(program, arguments);
    return client.waitForFinished(10000) && client.exitStatus() == QProcess::NormalExit &&
           client.exitCode() == 0;
}
