// Cases that bring their worker down or misbehave in every way we know; each folder has a case before, the
// fault, and one after.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>

#include "kiv.h"

static const char kFile[] = "tests/kiv/samples/faulty";

static int fine() {
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", kFile, __func__, 21);
}

static int aborts() {
    kiv_printf("last words");
    kiv_jyx_check_cerrno_(7, 0, "CERR_SUCCESS", kFile, __func__, 25);
    abort();
}

static int segfaults() {
    printf("before the fault\n");
    volatile int *nowhere = nullptr;
    return *nowhere;
}

static int leaves() {
    puts("leaving");
    exit(3);
}

static int leaves_at_once() {
    _exit(0);
}

static int throws() {
    throw std::runtime_error("nobody catches this");
}

static int hangs() {
    kiv_printf("waiting\n");
    while (true) pause();
}

static int hangs_ignoring_sigterm() {
    signal(SIGTERM, SIG_IGN);
    while (true) pause();
}

static int spins_printing() {
    while (true) kiv_printf("and again\n");
}

static int stops() {
    raise(SIGSTOP);
    return 0;
}

static size_t bytes_to_print() {
    const char *text = getenv("SAMPLE_BYTES");
    return text ? strtoull(text, nullptr, 10) : 1 << 30;
}

static int prints_a_lot() {
    char line[4096];
    memset(line, 'x', sizeof line);
    line[sizeof line - 2] = '\n';
    line[sizeof line - 1] = '\0';
    for (size_t left = bytes_to_print(); left > 0; left -= left < 4095 ? left : 4095) kiv_printf("%s", line);
    kiv_printf("the end of it\n");
    return fine();
}

static int writes_a_lot() {
    char block[65536];
    memset(block, 'y', sizeof block);
    for (size_t at = 63; at < sizeof block; at += 64) block[at] = '\n';
    for (size_t left = bytes_to_print(); left > 0; left -= left < sizeof block ? left : sizeof block)
        if (write(1, block, left < sizeof block ? left : sizeof block) < 0) return 1;
    return fine();
}

static int closes_descriptors() {
    for (int fd = 0; fd < 1024; ++fd) close(fd);
    printf("still here\n");
    return fine();
}

static int closes_streams() {
    fclose(stdout);
    fclose(stdin);
    kiv_printf("without streams\n");
    return fine();
}

static int uses_streams() {
    printf("a stream again\n");
    char line[16];
    if (fgets(line, sizeof line, stdin) != nullptr) printf("read %s", line);
    return fine();
}

static int forks() {
    const pid_t child = fork();
    if (child == 0) {
        kiv_printf("from the child\n");
        printf("and by its printf\n");
        kiv_jyx_check_cerrno_(9, 0, "CERR_SUCCESS", kFile, __func__, 106);
        fflush(stdout);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    kiv_printf("from the parent\n");
    return fine();
}

// The child returns as if it were the worker: it must not run the rest of the suite a second time.
static int child_goes_on() {
    fork();
    return fine();
}

// Leaves processes behind that know nothing of the run; their ids go to the file that the test names.
static int leaves_children() {
    const char *path = getenv("SAMPLE_PIDS");
    for (int i = 0; i < 3; ++i) {
        if (fork() != 0) continue;
        setsid();
        if (fork() != 0) _exit(0);
        signal(SIGTERM, SIG_IGN);
        signal(SIGHUP, SIG_IGN);
        FILE *file = path ? fopen(path, "a") : nullptr;
        if (file) {
            fprintf(file, "%d\n", static_cast<int>(getpid()));
            fclose(file);
        }
        while (true) pause();
    }
    usleep(100000);
    return fine();
}

static int runs_a_program() {
    if (system("echo from a program; echo ERROR: of a program") != 0) return 1;
    return fine();
}

static int exhausts_memory() {
    const rlimit limit{256u << 20, 256u << 20};
    setrlimit(RLIMIT_AS, &limit);
    while (true) memset(new char[1 << 20], 1, 1 << 20);
}

static int overflows_the_stack(int depth) {
    volatile char block[4096];
    block[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : overflows_the_stack(depth + 1) + block[0];
}

static int recurses() {
    return overflows_the_stack(0);
}

static int prints_from_threads() {
    std::thread threads[4];
    for (std::thread &thread : threads)
        thread = std::thread([] {
            for (int i = 0; i < 1000; ++i) kiv_printf("a line of a thread\n");
        });
    for (std::thread &thread : threads) thread.join();
    return fine();
}

static int aborting() {
    abort();
}

static int record_tear_down() {
    kiv_printf("torn down\n");
    return 0;
}

int main(int argc, char **argv) {
    struct Fault {
        const char *name;
        kiv_function_t function;
    };
    static const Fault kFaults[] = {
        {"aborts", aborts},
        {"segfaults", segfaults},
        {"leaves", leaves},
        {"leaves_at_once", leaves_at_once},
        {"throws", throws},
        {"hangs", hangs},
        {"hangs_ignoring_sigterm", hangs_ignoring_sigterm},
        {"spins_printing", spins_printing},
        {"stops", stops},
        {"prints_a_lot", prints_a_lot},
        {"writes_a_lot", writes_a_lot},
        {"closes_descriptors", closes_descriptors},
        {"closes_streams", closes_streams},
        {"forks", forks},
        {"child_goes_on", child_goes_on},
        {"leaves_children", leaves_children},
        {"runs_a_program", runs_a_program},
        {"exhausts_memory", exhausts_memory},
        {"recurses", recurses},
        {"prints_from_threads", prints_from_threads},
    };
    kiv_context_t context = nullptr;
    kiv_create(&context);
    for (const Fault &fault : kFaults) {
        kiv_folder_t folder = kiv_create_test_folder(context, nullptr, fault.name, "A fault");
        kiv_add_fixture(folder, fine, record_tear_down);
        kiv_create_test_case(context, folder, "before", "Comes before it", fine, KIV_MODE_AUTOMATIC);
        kiv_create_test_case(context, folder, "fault", "Is it", fault.function, KIV_MODE_AUTOMATIC);
        kiv_create_test_case(context, folder, "after", "Comes after it", uses_streams, KIV_MODE_AUTOMATIC);
    }
    kiv_folder_t set_up = kiv_create_test_folder(context, nullptr, "dying_set_up", "Dies in its set-up");
    kiv_add_fixture(set_up, aborting, record_tear_down);
    kiv_create_test_case(context, set_up, "never", "Is not reached", fine, KIV_MODE_AUTOMATIC);
    kiv_folder_t below = kiv_create_test_folder(context, set_up, "below", "Below it");
    kiv_create_test_case(context, below, "never", "Is not reached either", fine, KIV_MODE_AUTOMATIC);
    kiv_folder_t tear_down =
        kiv_create_test_folder(context, nullptr, "dying_tear_down", "Dies in its tear-down");
    kiv_add_fixture(tear_down, fine, aborting);
    kiv_create_test_case(context, tear_down, "passes", "Is kept", fine, KIV_MODE_AUTOMATIC);
    kiv_folder_t last = kiv_create_test_folder(context, nullptr, "last", "Nothing wrong");
    kiv_create_test_case(context, last, "passes", "Passes", fine, KIV_MODE_AUTOMATIC);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
