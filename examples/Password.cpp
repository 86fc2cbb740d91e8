#include "Password.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "SecretFile.h"

namespace {

// Bytes of a password. A terminal takes lines up to this size; nobody types more.
constexpr unsigned int kMaxPasswordSize = 4096;

// What a signal handler needs to give the echo back; set while it is off.
// NOLINTBEGIN(*-global-variables): a handler gets nothing but the number of its signal
int terminalWithoutEcho = -1;
termios settingsWithEcho;
// NOLINTEND(*-global-variables)

extern "C" void restoreEchoAndRaise(int signal) {
    tcsetattr(terminalWithoutEcho, TCSANOW, &settingsWithEcho);
    // The default action is back in place and ends the program once this handler has returned.
    (void)raise(signal);
}

// Turns a terminal's echo off and, in the end or when a signal ends the program, on again.
class EchoOff {
public:
    explicit EchoOff(int terminal) {
        if (tcgetattr(terminal, &settingsWithEcho) != 0)
            return;
        terminalWithoutEcho = terminal;
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            takeSignal(kSignals[i], m_before[i]);
        termios quiet = settingsWithEcho;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL;
        m_off = tcsetattr(terminal, TCSAFLUSH, &quiet) == 0;
    }

    ~EchoOff() {
        if (terminalWithoutEcho < 0)
            return;
        tcsetattr(terminalWithoutEcho, TCSAFLUSH, &settingsWithEcho);
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            sigaction(kSignals[i], &m_before[i], nullptr);
        terminalWithoutEcho = -1;
    }

    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

    bool isOff() const { return m_off; }

private:
    static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

    // A signal that the program was started to ignore stays ignored.
    static void takeSignal(int signal, struct sigaction& before) {
        struct sigaction taken = {};
        taken.sa_handler = restoreEchoAndRaise;
        taken.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(signal, &taken, nullptr);
    }

    std::array<struct sigaction, kSignals.size()> m_before{};
    bool m_off = false;
};

// Cuts `text` down to its first line, without the line end, and puts a NUL behind it.
bool keepFirstLine(DataBuffer& text, std::string& error) {
    const void* end = text.getSize() ? std::memchr(text.getData2(), '\n', text.getSize()) : nullptr;
    unsigned int size = text.getSize();
    if (end)
        size = static_cast<unsigned int>(static_cast<const unsigned char*>(end) - text.getData2());
    if (end && size != 0 && text.getData2()[size - 1] == '\r')
        --size;
    text.shrink(size);
    if (size > kMaxPasswordSize)
        error = "the password is too long";
    else if (size != 0 && std::memchr(text.getData2(), '\0', size))
        error = "the password contains a NUL";
    text.appendByte('\0');
    return error.empty();
}

bool readFromFile(const std::string& path, DataBuffer& password, std::string& error) {
    // With room for the longest line end, so that a password that is too long shows.
    if (!readSecretFile(path, kMaxPasswordSize + 2, password, error)) {
        error = path + ": " + error;
        return false;
    }
    return keepFirstLine(password, error);
}

bool readFromVariable(const std::string& name, DataBuffer& password, std::string& error) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    const char* value = std::getenv(name.c_str());
    if (!value) {
        error = "the variable " + name + " is not set";
        return false;
    }
    password.append(value, static_cast<unsigned int>(std::strlen(value)) + 1);
    return true;
}

bool writeText(int terminal, const std::string& text) {
    return write(terminal, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

// A terminal hands out whole lines, and of a long one as much as is asked for.
bool readLine(int terminal, DataBuffer& line) {
    while (line.getSize() <= kMaxPasswordSize) {
        const unsigned int start = line.getSize();
        const ssize_t got = read(terminal, line.extend(kMaxPasswordSize), kMaxPasswordSize);
        line.shrink(start + (got > 0 ? static_cast<unsigned int>(got) : 0));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        if (line.getData2()[line.getSize() - 1] == '\n')
            return true;
    }
    return true;
}

bool readFromTerminal(const std::string& what, DataBuffer& password, std::string& error) {
    const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) {
        error = "no terminal to ask for the password";
        return false;
    }
    {
        const EchoOff echo(terminal);
        if (!echo.isOff())
            error = "cannot turn the terminal's echo off";
        else if (!writeText(terminal, "Password of " + what + ": "))
            error = "cannot ask for the password";
        else if (!readLine(terminal, password))
            error = writeText(terminal, "\n") ? "no password entered" : "the terminal is gone";
    }
    close(terminal);
    return error.empty() && keepFirstLine(password, error);
}

}  // namespace

std::string* passwordOption(const std::string& argument, PasswordSource& source) {
    if (argument == "--password-file")
        return &source.file;
    return argument == "--password-env" ? &source.variable : nullptr;
}

bool readPassword(const PasswordSource& source, const std::string& what, DataBuffer& password,
                  std::string& error) {
    password.m_secure = true;
    password.clear();
    if (!source.file.empty() && !source.variable.empty()) {
        error = "the password is given twice";
        return false;
    }
    if (!source.file.empty())
        return readFromFile(source.file, password, error);
    if (!source.variable.empty())
        return readFromVariable(source.variable, password, error);
    return isatty(STDIN_FILENO) == 0 || readFromTerminal(what, password, error);
}
