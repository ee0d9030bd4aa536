// A real PulseAudio server without hardware, on a socket of its own, for one test.
#pragma once

#include <QProcess>
#include <QTemporaryDir>
#include <string>

#include <signal.h>
#include <stdlib.h>

namespace orvane::test {

class SoundServer {
  public:
    SoundServer() {
        ::setenv("PULSE_SERVER", ("unix:" + socket()).c_str(), 1);
        ::setenv("PULSE_COOKIE", folder("cookie").c_str(), 1);
    }
    ~SoundServer() { kill(); }

    /// Each of `sinks` is the arguments of one null sink.
    void start(const QStringList& sinks) {
        QStringList arguments = {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no"};
        arguments << "-L"
                  << QString::fromStdString("module-native-protocol-unix auth-anonymous=1 socket=" +
                                            socket());
        for (const QString& sink : sinks)
            arguments << "-L"
                      << "module-null-sink " + sink;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"})
            environment.insert(variable, folder_.path());
        environment.remove("PULSE_SERVER");
        process_.setProcessEnvironment(environment);
        process_.setStandardErrorFile(QString::fromStdString(folder("log")));
        process_.start("pulseaudio", arguments);
        process_.waitForStarted();
        for (int i = 0; i < 100 && control({"info"}).empty(); ++i)
            ::usleep(50'000);
    }
    void stop() { ::kill(static_cast<pid_t>(process_.processId()), SIGSTOP); }
    void goOn() { ::kill(static_cast<pid_t>(process_.processId()), SIGCONT); }
    void kill() {
        process_.kill();
        process_.waitForFinished();
    }

    /// What `pactl` prints, an independent client; empty when it fails.
    static std::string control(const QStringList& arguments) {
        QProcess client;
        client.start("pactl", arguments);
        client.waitForFinished();
        return client.exitCode() == 0 ? client.readAllStandardOutput().toStdString() : std::string();
    }
    static void setVolume(const QString& kind, const QString& name, const QStringList& volumes) {
        control(QStringList{"set-" + kind + "-volume", name} + volumes);
    }

  private:
    std::string folder(const std::string& name) const { return folder_.path().toStdString() + "/" + name; }
    std::string socket() const { return folder("native"); }

    QTemporaryDir folder_;
    QProcess process_;
};

}  // namespace orvane::test
