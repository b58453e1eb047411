// A host that crashes and says which functions that allocate or lock were called between the fault and its
// death. With an argument a handler of its own, which the crash handler calls, does both: so it shows that it
// would see it.

#include <Marblewick/MBWCrashLogWriter.h>

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <string_view>
#include <unistd.h>

static volatile bool isWatching = false;

static void tell(std::string_view function)
{
    if (isWatching)
        static_cast<void>(::write(STDOUT_FILENO, function.data(), function.size()));
}

template <typename Function>
static Function *next(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

// The functions of a program are found before those of the libraries. Those of the allocator below theirs
// have other names, by which the C library exports them for this purpose.

#define WATCHED extern "C" [[gnu::visibility("default")]]

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
}

WATCHED void *malloc(size_t size) noexcept
{
    tell("malloc\n");
    return __libc_malloc(size);
}

WATCHED void *calloc(size_t count, size_t size) noexcept
{
    tell("calloc\n");
    return __libc_calloc(count, size);
}

WATCHED void *realloc(void *block, size_t size) noexcept
{
    tell("realloc\n");
    return __libc_realloc(block, size);
}

WATCHED void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    tell("aligned_alloc\n");
    return __libc_memalign(alignment, size);
}

WATCHED void free(void *block) noexcept
{
    tell("free\n");
    __libc_free(block);
}

WATCHED int pthread_mutex_lock(pthread_mutex_t *mutex) noexcept
{
    tell("pthread_mutex_lock\n");
    static const auto original = next<int(pthread_mutex_t *)>("pthread_mutex_lock");
    return original(mutex);
}

WATCHED int pthread_mutex_trylock(pthread_mutex_t *mutex) noexcept
{
    tell("pthread_mutex_trylock\n");
    static const auto original = next<int(pthread_mutex_t *)>("pthread_mutex_trylock");
    return original(mutex);
}

WATCHED int pthread_rwlock_rdlock(pthread_rwlock_t *lock) noexcept
{
    tell("pthread_rwlock_rdlock\n");
    static const auto original = next<int(pthread_rwlock_t *)>("pthread_rwlock_rdlock");
    return original(lock);
}

WATCHED int pthread_rwlock_wrlock(pthread_rwlock_t *lock) noexcept
{
    tell("pthread_rwlock_wrlock\n");
    static const auto original = next<int(pthread_rwlock_t *)>("pthread_rwlock_wrlock");
    return original(lock);
}

WATCHED int pthread_spin_lock(pthread_spinlock_t *lock) noexcept
{
    tell("pthread_spin_lock\n");
    static const auto original = next<int(pthread_spinlock_t *)>("pthread_spin_lock");
    return original(lock);
}

WATCHED int sem_wait(sem_t *semaphore)
{
    tell("sem_wait\n");
    static const auto original = next<int(sem_t *)>("sem_wait");
    return original(semaphore);
}

/*! Each of the functions above, by way of the libraries' own names. */
static void useAll(int)
{
    void *volatile block = std::malloc(10);
    block = std::realloc(block, 20);
    std::free(block);
    block = std::calloc(1, 10);
    std::free(block);
    block = std::aligned_alloc(16, 16);
    std::free(block);
    int *volatile number = new int;
    delete number;

    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    ::pthread_mutex_lock(&mutex);
    ::pthread_mutex_unlock(&mutex);
    ::pthread_mutex_trylock(&mutex);
    static pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    ::pthread_rwlock_rdlock(&lock);
    ::pthread_rwlock_unlock(&lock);
    ::pthread_rwlock_wrlock(&lock);
    pthread_spinlock_t spinlock = {};
    ::pthread_spin_init(&spinlock, PTHREAD_PROCESS_PRIVATE);
    ::pthread_spin_lock(&spinlock);
    sem_t semaphore = {};
    ::sem_init(&semaphore, 0, 1);
    ::sem_wait(&semaphore);
    ::_exit(EXIT_SUCCESS);
}

int main(int argc, char **argv)
{
    if (argc > 2)
        std::signal(SIGSEGV, &useAll);
    if (!MBWCrashLogWriter::installWithHelperAtPath(QString::fromLocal8Bit(argv[1])))
        return EXIT_FAILURE;
    volatile int *volatile nowhere = nullptr;
    isWatching = true;
    *nowhere = 1;
}
