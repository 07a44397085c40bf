#include "camera_process.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace view {

static constexpr int kPictureDescriptor = 3;
static constexpr size_t kChunk = 65536;
static constexpr size_t kMostBehind = size_t{1024} * 1024;
static constexpr size_t kLargestPicture = size_t{4} * 1024 * 1024;

namespace {
struct Pipe {
    int out;
    int in;
};
} // namespace

static Pipe makePipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        perror("view: a pipe");
    return {ends[0], ends[1]};
}

static bool readAll(int descriptor, void *bytes, size_t size) {
    auto *at = static_cast<char *>(bytes);
    while (size > 0) {
        const ssize_t count = read(descriptor, at, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        at += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

static void readLines(int descriptor, const CameraEars &ears) {
    std::string text;
    std::vector<char> chunk(kChunk);
    ssize_t count = 0;
    while ((count = read(descriptor, chunk.data(), chunk.size())) > 0) {
        text.append(chunk.data(), static_cast<size_t>(count));
        size_t from = 0;
        for (size_t end = 0; (end = text.find('\n', from)) != std::string::npos; from = end + 1)
            ears.line(text.substr(from, end - from));
        text.erase(0, from);
    }
    close(descriptor);
    ears.end();
}

static void readPictures(int descriptor, const CameraEars &ears) {
    uint32_t size = 0;
    while (readAll(descriptor, &size, sizeof size) && size <= kLargestPicture) {
        std::string jpeg(size, '\0');
        if (!readAll(descriptor, jpeg.data(), size))
            break;
        ears.picture(std::move(jpeg));
    }
    close(descriptor);
}

// ---- Orders: whoever gives one may hold what the camera's lines need to be heard

struct CameraProcess::Outbox {
    std::mutex mutex;
    std::condition_variable news;
    std::string text;
    bool isClosed = false;
};

/// Where the camera has ended, writing fails, and nobody is to die of that.
static void refuseBrokenPipes() {
    sigset_t broken;
    sigemptyset(&broken);
    sigaddset(&broken, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &broken, nullptr);
}

static bool writeAll(int descriptor, const std::string &text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, &text[done], text.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

template <typename Outbox> static void handOver(int descriptor, std::shared_ptr<Outbox> outbox) {
    refuseBrokenPipes();
    for (bool isHeard = true; isHeard;) {
        std::unique_lock<std::mutex> lock(outbox->mutex);
        outbox->news.wait(lock, [&outbox] { return outbox->isClosed || !outbox->text.empty(); });
        const std::string text = std::move(outbox->text);
        outbox->text.clear();
        lock.unlock();
        isHeard = !text.empty() && writeAll(descriptor, text);
    }
    close(descriptor);
}

bool CameraProcess::order(const std::string &line) {
    const std::lock_guard<std::mutex> guard(outbox->mutex);
    if (outbox->text.size() > kMostBehind)
        return false;
    outbox->text += line + "\n";
    outbox->news.notify_one();
    return true;
}

template <typename Outbox> static void closeOutbox(Outbox &outbox) {
    const std::lock_guard<std::mutex> guard(outbox.mutex);
    outbox.isClosed = true;
    outbox.news.notify_one();
}

// ---- The process

/// In the child. Only what a forked process of many threads may call.
[[noreturn]] static void become(char *const *words, int orders, int lines, int pictures) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    setpgid(0, 0); // Ctrl-C is for the server
    const bool isReady = dup2(orders, STDIN_FILENO) >= 0 && dup2(lines, STDOUT_FILENO) >= 0 &&
                         (pictures == kPictureDescriptor ? fcntl(pictures, F_SETFD, 0)
                                                         : dup2(pictures, kPictureDescriptor)) >= 0;
    if (isReady)
        execv(words[0], words);
    _exit(EXIT_FAILURE);
}

std::unique_ptr<CameraProcess> CameraProcess::start(const std::vector<std::string> &words,
                                                    CameraEars ears) {
    const Pipe orders = makePipe();
    const Pipe lines = makePipe();
    const Pipe pictures = makePipe();
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string &word : words)
        pointers.push_back(const_cast<char *>(word.c_str()));
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0)
        become(pointers.data(), orders.out, lines.in, pictures.in);
    close(orders.out);
    close(lines.in);
    close(pictures.in);
    std::unique_ptr<CameraProcess> camera(new CameraProcess);
    camera->process = child;
    camera->outbox = std::make_shared<Outbox>();
    std::thread(handOver<Outbox>, orders.in, camera->outbox).detach();
    std::thread(readLines, lines.out, ears).detach();
    std::thread(readPictures, pictures.out, std::move(ears)).detach();
    return child > 0 ? std::move(camera) : nullptr;
}

int CameraProcess::finish() {
    closeOutbox(*outbox);
    int status = 0;
    const bool isOver = waitpid(process, &status, 0) == process && WIFEXITED(status);
    process = -1;
    return isOver ? WEXITSTATUS(status) : -1;
}

CameraProcess::~CameraProcess() {
    closeOutbox(*outbox);
    if (process > 0) {
        kill(process, SIGKILL); // it has nothing to keep: the log is here
        waitpid(process, nullptr, 0);
    }
}

} // namespace view
