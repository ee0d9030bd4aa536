// A real PulseAudio server without hardware, on a socket of its own, for one test.
#pragma once

#include "linux/SpawnedProgram.h"
#include "posix/CommandOutput.h"

#include <QStringList>
#include <QTemporaryDir>
#include <string>
#include <vector>

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
        const std::string home = folder_.path().toStdString();
        std::vector<std::string> command = {
            "-u",
            "PULSE_SERVER",
            "HOME=" + home,
            "XDG_RUNTIME_DIR=" + home,
            "XDG_CONFIG_HOME=" + home,
            "pulseaudio",
            "-n",
            "--daemonize=no",
            "--exit-idle-time=-1",
            "--use-pid-file=no",
            "--log-target=file:" + folder("log"),
            "-L",
            "module-native-protocol-unix auth-anonymous=1 socket=" + socket()};
        for (const QString& sink : sinks) {
            command.push_back("-L");
            command.push_back("module-null-sink " + sink.toStdString());
        }
        process_.start(std::move(command));
        for (int i = 0; i < 100 && control({"info"}).empty(); ++i)
            ::usleep(50'000);
    }
    void stop() { process_.signal(SIGSTOP); }
    void goOn() { process_.signal(SIGCONT); }
    void kill() { process_.end(SIGKILL); }

    /// What `pactl` prints, an independent client; empty when it fails.
    static std::string control(const QStringList& arguments) {
        std::vector<std::string> command = {"pactl"};
        for (const QString& argument : arguments)
            command.push_back(argument.toStdString());
        return outputOf("/usr/bin/env", command, Deadline::after(std::chrono::seconds(30))).value_or("");
    }
    static void setVolume(const QString& kind, const QString& name, const QStringList& volumes) {
        control(QStringList{"set-" + kind + "-volume", name} + volumes);
    }

  private:
    std::string folder(const std::string& name) const { return folder_.path().toStdString() + "/" + name; }
    std::string socket() const { return folder("native"); }

    QTemporaryDir folder_;
    SpawnedProgram process_;
};

}  // namespace orvane::test
