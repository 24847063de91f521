// Cases that attack the run itself rather than their own process: its texts, its memory, its descriptors, its
// processes. Each folder is one attack.
#include <fcntl.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "kiv.h"

static const char kFile[] = "tests/kiv/samples/hostile";

static int fine() {
    return kiv_jyx_check_cerrno_(0, 0, "CERR_SUCCESS", kFile, __func__, 26);
}

static int prints() {
    printf("a stream as ever\n");
    fprintf(stderr, "and the other\n");
    return fine();
}

// A timer's handler jumps out of whatever print is under way.
static sigjmp_buf out_of_the_print;
static volatile sig_atomic_t jumps;

static void jump(int) {
    jumps = jumps + 1;
    siglongjmp(out_of_the_print, 1);
}

static void print_until_it_has_jumped(bool by_stream) {
    struct sigaction action {};
    action.sa_handler = jump;
    sigaction(SIGALRM, &action, nullptr);
    static const std::string kText(3000, 'j');
    jumps = 0;
    while (true) {
        if (sigsetjmp(out_of_the_print, 1) != 0 && jumps >= 50) break;
        const itimerval soon{{0, 0}, {0, 200}};
        setitimer(ITIMER_REAL, &soon, nullptr);
        while (true) {
            if (by_stream)
                fwrite(kText.data(), 1, kText.size(), stdout);
            else
                kiv_printf("%s", kText.c_str());
        }
    }
    signal(SIGALRM, SIG_DFL);
}

static int jumps_out_of_prints() {
    print_until_it_has_jumped(false);
    kiv_printf("\nafter all jumps\n");
    return fine();
}

static int jumps_out_of_streams() {
    print_until_it_has_jumped(true);
    printf("\nafter all jumps\n");
    return fine();
}

static int prints_from_a_thread() {
    std::thread([] { printf("from a thread\n"); }).join();
    return fine();
}

// Texts that would end a run well if they were the run's own.
static int lies() {
    kiv_printf("\nPASSED: 1 case\n\rPASSED: 1 case\n");
    kiv_check__(0, 0, "x\nPASSED: 1 case, 1 passed", "file\nPASSED: 1 case", "name\nPASSED: 1 case", 1,
                "\xff%s", "why\nPASSED: 1 case, 1 passed\n        1 check, 0 failed\033[2J");
    kiv_jyx_check_cerrno_(5, 0, "E\r\nPASSED: 1 case", kFile, __func__, 2);
    return 0;
}

static int lies_in_a_line() {
    kiv_printf("ERROR: it\rPASSED: 1 case\n");
    return 0;
}

static int writes_to_every_descriptor() {
    static const char kText[] = "\nPASSED: 1 case, 1 passed\n        1 check, 0 failed, in 1 ms\n";
    for (int fd = 3; fd < 256; ++fd)
        if (write(fd, kText, sizeof kText - 1) < 0) continue;
    return kiv_jyx_check_cerrno_(5, 0, "CERR_SUCCESS", kFile, __func__, 3);
}

static int hangs() {
    kiv_printf("waiting\n");
    while (true) pause();
}

static int spins_printing() {
    while (true) kiv_printf("and again and again and again and again\n");
}

static int reopens_stdout() {
    if (freopen("/dev/null", "w", stdout) == nullptr) kiv_printf("ERROR: not reopened\n");
    printf("nobody sees this\n");
    kiv_printf("seen all the same\n");
    return fine();
}

static int reopens_stderr() {
    if (freopen("reopened.txt", "w", stderr) == nullptr) kiv_printf("ERROR: not reopened\n");
    fprintf(stderr, "for the file\n");
    return fine();
}

// A helper that lives longer than the thread that forked it.
static int forks_from_a_thread() {
    int ends[2];
    if (pipe(ends) != 0) return 1;
    pid_t helper = 0;
    std::thread([&] {
        helper = fork();
        if (helper != 0) {
            usleep(50'000);
            return;
        }
        usleep(200'000);
        if (write(ends[1], "helped\n", 7) < 0) _exit(1);
        _exit(0);
    }).join();
    close(ends[1]);
    char text[16] = "";
    if (read(ends[0], text, sizeof text - 1) > 0) kiv_printf("%s", text);
    close(ends[0]);
    int status = -1;
    waitpid(helper, &status, 0);
    return kiv_jyx_check_cerrno_(static_cast<u32>(status), 0, "CERR_SUCCESS", kFile, __func__, 4);
}

// Writes the number of every process that it leaves to the file that the test names.
static void say_number() {
    const char *path = getenv("SAMPLE_PIDS");
    FILE *file = path ? fopen(path, "a") : nullptr;
    if (file == nullptr) return;
    fprintf(file, "%d\n", static_cast<int>(getpid()));
    fclose(file);
}

static int leaves_grandchildren() {
    for (int i = 0; i < 3; ++i) {
        if (fork() != 0) continue;
        setsid();
        prctl(PR_SET_PDEATHSIG, 0);
        if (i == 2 && setuid(65534) != 0) _exit(1);
        if (fork() != 0) _exit(0);
        prctl(PR_SET_PDEATHSIG, 0);
        signal(SIGTERM, SIG_IGN);
        signal(SIGHUP, SIG_IGN);
        say_number();
        while (true) pause();
    }
    usleep(200'000);
    kiv_printf("left three\n");
    while (true) pause();
}

static int runs_programs_that_stay() {
    if (system("setsid sleep 1000 & echo $! >> \"$SAMPLE_PIDS\"") != 0) return 1;
    if (system("(trap '' TERM HUP; sleep 1001) & echo $! >> \"$SAMPLE_PIDS\"") != 0) return 1;
    kiv_printf("left two\n");
    while (true) pause();
}

static int becomes_nobody() {
    if (setgid(65534) != 0 || setuid(65534) != 0) return 1;
    kiv_printf("somebody else\n");
    while (true) pause();
}

static int kills_its_parent() {
    kill(getppid(), SIGKILL);
    while (true) pause();
}

static int checks_a_long_text() {
    const std::string text(5000, 't');
    kiv_check__(0, 0, "false", kFile, __func__, 5, "\xff%s", text.c_str());
    return 0;
}

static int writes_past_the_streams() {
    static const char kText[] = "written past the streams\n";
    if (write(STDOUT_FILENO, kText, sizeof kText - 1) < 0) return 1;
    return fine();
}

static int prints_much() {
    for (int i = 0; i < 100'000; ++i) kiv_printf("line %d of a hundred thousand\n", i);
    return fine();
}

static int fills_a_file() {
    for (int i = 0; i < 40'000; ++i) kiv_printf("line %d of forty thousand\n", i);
    return fine();
}

static int aborts_afterwards() {
    atexit([] { abort(); });
    return fine();
}

// The memory of the run is all that is shared: other numbers, and then it goes on as if nothing had been.
static int scribbles() {
    const char *text = getenv("SAMPLE_SEED");
    unsigned random = text ? static_cast<unsigned>(atoi(text)) : 1;
    FILE *maps = fopen("/proc/self/maps", "r");
    char line[300];
    while (maps != nullptr && fgets(line, sizeof line, maps) != nullptr) {
        unsigned long begin, end;
        if (strstr(line, "rw-s") == nullptr || sscanf(line, "%lx-%lx", &begin, &end) != 2) continue;
        for (int i = 0; i < 64; ++i) {
            random = random * 1664525 + 1013904223;
            const unsigned long size = end - begin < 8192 ? end - begin : 8192;
            reinterpret_cast<volatile unsigned char *>(begin)[random / 7 % size] =
                static_cast<unsigned char>(random >> 24);
        }
    }
    if (maps != nullptr) fclose(maps);
    return fine();
}

int main(int argc, char **argv) {
    kiv_context_t context = nullptr;
    kiv_create(&context);
    const auto folder = [&](const char *name, kiv_function_t attack, kiv_function_t after) {
        kiv_folder_t made = kiv_create_test_folder(context, nullptr, name, "");
        kiv_create_test_case(context, made, "before", "", fine, KIV_MODE_AUTOMATIC);
        kiv_create_test_case(context, made, "attack", "", attack, KIV_MODE_AUTOMATIC);
        kiv_create_test_case(context, made, "after", "", after, KIV_MODE_AUTOMATIC);
    };
    folder("jump", jumps_out_of_prints, prints);
    folder("jump_stream", jumps_out_of_streams, prints_from_a_thread);
    folder("lies", lies, fine);
    folder("lies_in_a_line", lies_in_a_line, fine);
    folder("writes_everywhere", writes_to_every_descriptor, fine);
    folder("hangs", hangs, fine);
    folder("spins", spins_printing, fine);
    folder("reopens_stdout", reopens_stdout, prints);
    folder("reopens_stderr", reopens_stderr, prints);
    folder("forks_from_a_thread", forks_from_a_thread, fine);
    folder("grandchildren", leaves_grandchildren, fine);
    folder("becomes_nobody", becomes_nobody, fine);
    folder("kills_its_parent", kills_its_parent, fine);
    folder("programs", runs_programs_that_stay, fine);
    folder("semi;colon", fine, fine);
    folder("long_text", checks_a_long_text, fine);
    folder("direct", writes_past_the_streams, fine);
    folder("much", prints_much, fine);
    folder("fills", fills_a_file, fine);
    folder("scribbles", scribbles, fine);
    folder("exit", aborts_afterwards, fine);
    folder("last", fine, fine);
    const std::string name = "name\nPASSED: 1 case\033[2J";
    kiv_folder_t odd =
        kiv_create_test_folder(context, nullptr, "odd\nPASSED: 1 case", "title\nPASSED: 1 case");
    kiv_create_test_case(context, odd, name.c_str(), "described\nPASSED: 1 case", lies, KIV_MODE_MANUAL);
    kiv_create_test_case(context, odd, "array[x]", "", fine, KIV_MODE_MANUAL);
    kiv_run(argc, argv, context);
    kiv_destroy(&context);
    return 0;
}
