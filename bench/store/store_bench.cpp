#include "store/store_bench.h"

#include <benchmark/benchmark.h>
#include <emantle/frame/eint.h>
#include <emantle/store/ehfa.h>

#ifdef EMANTLE_BENCH_LMDB
#include <lmdb.h>
#endif
#ifdef EMANTLE_BENCH_SQLITE3
#include <sqlite3.h>
#endif

#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>

/* 100,000 objects of 48 bytes under 100 parents: the store beside databases that hold the same bytes under the same names.
 * All of them promise that the end of the process at any moment leaves a sound file; none waits for the disk. Each figure
 * is for the whole of its work, from the opening of the file to its close. */

namespace {

using namespace store_bench;

constexpr int kParents = 100;
constexpr int kEach = 1000;
constexpr int kObjects = kParents * kEach;

struct Names {
    char parent[16];
    char name[24];
    Names(int index, char kind)
    {
        std::strcpy(parent, ":p00");
        std::strcpy(name, "x000000");
        name[0] = kind;
        const int of = index / kEach;
        parent[2] = static_cast<char>('0' + of / 10);
        parent[3] = static_cast<char>('0' + of % 10);
        for (int i = 6, left = index; i > 0; --i, left /= 10) {
            name[i] = static_cast<char>('0' + left % 10);
        }
    }
    std::string path() const { return std::string(parent) + ':' + name; }
};

struct Data {
    char bytes[48];
    explicit Data(int index)
    {
        std::memset(bytes, index & 0x7F, sizeof bytes);
        std::memcpy(bytes, &index, sizeof index);
    }
};

void check(const void* bytes, std::size_t size, int index)
{
    int found = -1;
    demand(size == sizeof(Data), "size");
    std::memcpy(&found, bytes, sizeof found);
    demand(found == index, "content");
}

/* Each peer: a session opens a file, does its work as one transaction, and closes. */

struct Store {
    static std::string file() { return folder() + "/objects.img"; }
    Ehfa_File* handle = nullptr;

    void open(bool fresh, bool writes)
    {
        handle = fresh ? ehfa_FileCreate(file().c_str(), eint_GetInit(), nullptr)
                       : ehfa_FileOpen(file().c_str(), writes ? "r+b" : "r", eint_GetInit(), nullptr);
        demand(handle != nullptr, "open");
        if (writes) {
            ehfa_FileChange(handle, nullptr, EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
        }
        if (fresh) {
            for (int i = 0; i < kParents; ++i) {
                const Names names(i * kEach, 'o');
                ehfa_EntrySeek(handle, EHFA_SEEK_ROOT, nullptr, nullptr);
                demand(ehfa_EntryWrite(handle, EHFA_WRITE_LAST_CHILD, names.parent + 1, "Parent", nullptr) != nullptr, "write");
            }
        }
    }
    void put(int index, char kind)
    {
        const Names names(index, kind);
        const Data data(index);
        demand(ehfa_ObjectDataWrite(handle, names.parent, names.name, "Raw", EHFA_WRITE_LAST_CHILD, data.bytes, sizeof data.bytes, nullptr) != nullptr, "write");
    }
    void get(int index, char kind)
    {
        const Names names(index, kind);
        demand(ehfa_ObjectRead(handle, names.parent, names.name, EHFA_SEEK_CHILD_NAME, nullptr, nullptr, nullptr) != nullptr, "read");
        char bytes[sizeof(Data)];
        demand(handle->entry->dataSize == sizeof bytes, "size");
        ehfa_FileMIFDataRead(handle, handle->entry->data, sizeof bytes, bytes, nullptr);
        check(bytes, sizeof bytes, index);
    }
    void remove(int index, char kind)
    {
        const Names names(index, kind);
        demand(ehfa_ObjectDelete(handle, names.parent, names.name, EHFA_SEEK_CHILD_NAME, nullptr), "delete");
    }
    void close() { demand(ehfa_FileClose(handle, nullptr), "close"); }
};

#ifdef EMANTLE_BENCH_SQLITE3
struct Sqlite {
    static std::string file() { return folder() + "/objects.sqlite"; }
    sqlite3* base = nullptr;
    sqlite3_stmt* insert = nullptr;
    sqlite3_stmt* select = nullptr;
    sqlite3_stmt* erase = nullptr;
    bool writes_ = false;

    void run(const char* text) { demand(sqlite3_exec(base, text, nullptr, nullptr, nullptr) == SQLITE_OK, text); }
    void open(bool fresh, bool writes)
    {
        writes_ = writes;
        if (fresh) {
            std::filesystem::remove(file());
        }
        demand(sqlite3_open(file().c_str(), &base) == SQLITE_OK, "open");
        run("PRAGMA synchronous = OFF");
        if (fresh) {
            run("CREATE TABLE o (path TEXT PRIMARY KEY, data BLOB) WITHOUT ROWID");
        }
        if (writes) {
            run("BEGIN");
        }
        if (writes) {
            sqlite3_prepare_v2(base, "INSERT INTO o VALUES (?, ?)", -1, &insert, nullptr);
            sqlite3_prepare_v2(base, "DELETE FROM o WHERE path = ?", -1, &erase, nullptr);
        }
        sqlite3_prepare_v2(base, "SELECT data FROM o WHERE path = ?", -1, &select, nullptr);
    }
    void put(int index, char kind)
    {
        const std::string path = Names(index, kind).path();
        const Data data(index);
        sqlite3_bind_text(insert, 1, path.data(), static_cast<int>(path.size()), SQLITE_STATIC);
        sqlite3_bind_blob(insert, 2, data.bytes, sizeof data.bytes, SQLITE_STATIC);
        demand(sqlite3_step(insert) == SQLITE_DONE, "insert");
        sqlite3_reset(insert);
    }
    void get(int index, char kind)
    {
        const std::string path = Names(index, kind).path();
        sqlite3_bind_text(select, 1, path.data(), static_cast<int>(path.size()), SQLITE_STATIC);
        demand(sqlite3_step(select) == SQLITE_ROW, "select");
        check(sqlite3_column_blob(select, 0), static_cast<std::size_t>(sqlite3_column_bytes(select, 0)), index);
        sqlite3_reset(select);
    }
    void remove(int index, char kind)
    {
        const std::string path = Names(index, kind).path();
        sqlite3_bind_text(erase, 1, path.data(), static_cast<int>(path.size()), SQLITE_STATIC);
        demand(sqlite3_step(erase) == SQLITE_DONE, "delete");
        sqlite3_reset(erase);
    }
    void close()
    {
        if (writes_) {
            run("COMMIT");
        }
        sqlite3_finalize(insert);
        sqlite3_finalize(select);
        sqlite3_finalize(erase);
        sqlite3_close(base);
    }
};
#endif

#ifdef EMANTLE_BENCH_LMDB
struct Lmdb {
    static std::string file() { return folder() + "/objects.lmdb"; }
    MDB_env* env = nullptr;
    MDB_txn* txn = nullptr;
    MDB_dbi dbi = 0;

    void open(bool fresh, bool writes)
    {
        if (fresh) {
            std::filesystem::remove(file());
            std::filesystem::remove(file() + "-lock");
        }
        mdb_env_create(&env);
        mdb_env_set_mapsize(env, std::size_t{1} << 30);
        demand(mdb_env_open(env, file().c_str(), MDB_NOSUBDIR | MDB_NOSYNC | (writes ? 0u : unsigned{MDB_RDONLY}), 0644) == 0, "open");
        demand(mdb_txn_begin(env, nullptr, writes ? 0 : MDB_RDONLY, &txn) == 0, "begin");
        demand(mdb_dbi_open(txn, nullptr, 0, &dbi) == 0, "dbi");
    }
    void put(int index, char kind)
    {
        std::string path = Names(index, kind).path();
        Data data(index);
        MDB_val key{path.size(), path.data()};
        MDB_val value{sizeof data.bytes, data.bytes};
        demand(mdb_put(txn, dbi, &key, &value, 0) == 0, "put");
    }
    void get(int index, char kind)
    {
        std::string path = Names(index, kind).path();
        MDB_val key{path.size(), path.data()};
        MDB_val value{};
        demand(mdb_get(txn, dbi, &key, &value) == 0, "get");
        check(value.mv_data, value.mv_size, index);
    }
    void remove(int index, char kind)
    {
        std::string path = Names(index, kind).path();
        MDB_val key{path.size(), path.data()};
        demand(mdb_del(txn, dbi, &key, nullptr) == 0, "del");
    }
    void close()
    {
        demand(mdb_txn_commit(txn) == 0, "commit");
        mdb_env_close(env);
    }
};
#endif

template <class Peer>
void makeObjects()
{
    Peer peer;
    peer.open(true, true);
    for (int i = 0; i < kObjects; ++i) {
        peer.put(i, 'o');
    }
    peer.close();
}

template <class Peer>
void removeHalf()
{
    Peer peer;
    peer.open(false, true);
    for (int i = 0; i < kObjects; i += 2) {
        peer.remove(i, 'o');
    }
    peer.close();
}

template <class Peer>
void createObjects(benchmark::State& state)
{
    for (auto _ : state) {
        state.SetIterationTime(secondsOf(makeObjects<Peer>));
    }
    state.SetItemsProcessed(state.iterations() * kObjects);
    state.counters["MB"] = double(std::filesystem::file_size(Peer::file())) / 1e6;
}

template <class Peer>
void readObjects(benchmark::State& state)
{
    makeObjects<Peer>();
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([] {
            Peer peer;
            peer.open(false, false);
            for (int i = 0; i < kObjects; i += 10) {
                peer.get(i, 'o');
            }
            peer.close();
        }));
    }
    state.SetItemsProcessed(state.iterations() * kObjects / 10);
}

/* The same number, here and there. */
template <class Peer>
void readScattered(benchmark::State& state)
{
    makeObjects<Peer>();
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([] {
            Peer peer;
            peer.open(false, false);
            unsigned at = 1;
            for (int i = 0; i < kObjects / 10; ++i) {
                at = at * 1664525u + 1013904223u;
                peer.get(static_cast<int>(at % kObjects), 'o');
            }
            peer.close();
        }));
    }
    state.SetItemsProcessed(state.iterations() * kObjects / 10);
}

template <class Peer>
void deleteHalf(benchmark::State& state)
{
    for (auto _ : state) {
        makeObjects<Peer>();
        state.SetIterationTime(secondsOf(removeHalf<Peer>));
    }
    state.SetItemsProcessed(state.iterations() * kObjects / 2);
}

template <class Peer>
void fillAgain(benchmark::State& state)
{
    double growth = 0;
    for (auto _ : state) {
        makeObjects<Peer>();
        const auto before = double(std::filesystem::file_size(Peer::file()));
        removeHalf<Peer>();
        state.SetIterationTime(secondsOf([] {
            Peer peer;
            peer.open(false, true);
            for (int i = 0; i < kObjects; i += 2) {
                peer.put(i, 'n');
            }
            peer.close();
        }));
        growth = double(std::filesystem::file_size(Peer::file())) / before;
    }
    state.SetItemsProcessed(state.iterations() * kObjects / 2);
    state.counters["growth"] = growth;
}

/* A process of its own that opens the file and reads one object, and says how long that took. */
constexpr char kChild[] = "EMANTLE_STORE_BENCH_CHILD";

template <class Peer>
void readOne()
{
    const double seconds = secondsOf([] {
        Peer peer;
        peer.open(false, false);
        peer.get(54321, 'o');
        peer.close();
    });
    demand(write(STDOUT_FILENO, &seconds, sizeof seconds) == sizeof seconds, "write");
    _exit(0);
}

template <class Peer>
constexpr const char* kPeerName = "store";
#ifdef EMANTLE_BENCH_SQLITE3
template <>
constexpr const char* kPeerName<Sqlite> = "sqlite";
#endif

/* What the started process does: the peer and the folder are in its environment. */
void runChild(const std::string& order)
{
    childFolder() = order.substr(order.find(' ') + 1);
#ifdef EMANTLE_BENCH_SQLITE3
    if (order.starts_with(kPeerName<Sqlite>)) {
        readOne<Sqlite>();
    }
#endif
    readOne<Store>();
}

double secondsInNewProcess(const char* peer)
{
    int ends[2];
    demand(pipe(ends) == 0, "pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        setenv(kChild, peer, 1);
        execl("/proc/self/exe", "store_bench", static_cast<char*>(nullptr));
        _exit(1);
    }
    ::close(ends[1]);
    double seconds = 0;
    demand(read(ends[0], &seconds, sizeof seconds) == sizeof seconds, "child");
    ::close(ends[0]);
    waitpid(child, nullptr, 0);
    return seconds;
}

void dropFromCache(const std::string& file)
{
    const int descriptor = ::open(file.c_str(), O_RDWR);
    fsync(descriptor);
    posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
    ::close(descriptor);
}

template <class Peer>
void readOneInNewProcess(benchmark::State& state)
{
    makeObjects<Peer>();
    for (auto _ : state) {
        if (state.range(0) != 0) {
            dropFromCache(Peer::file());
        }
        state.SetIterationTime(secondsInNewProcess((std::string(kPeerName<Peer>) + ' ' + folder()).c_str()));
    }
}

#define OBJECTS(peer)                                                                                        \
    BENCHMARK(createObjects<peer>)->UseManualTime()->Unit(benchmark::kMillisecond);                           \
    BENCHMARK(readObjects<peer>)->UseManualTime()->Unit(benchmark::kMillisecond);                             \
    BENCHMARK(readScattered<peer>)->UseManualTime()->Unit(benchmark::kMillisecond);                           \
    BENCHMARK(deleteHalf<peer>)->UseManualTime()->Unit(benchmark::kMillisecond);                              \
    BENCHMARK(fillAgain<peer>)->UseManualTime()->Unit(benchmark::kMillisecond)

OBJECTS(Store);
BENCHMARK(readOneInNewProcess<Store>)->ArgName("cold")->Arg(0)->Arg(1)->Iterations(30)->UseManualTime()->Unit(benchmark::kMicrosecond);
#ifdef EMANTLE_BENCH_LMDB
OBJECTS(Lmdb);
#endif
#ifdef EMANTLE_BENCH_SQLITE3
OBJECTS(Sqlite);
BENCHMARK(readOneInNewProcess<Sqlite>)->ArgName("cold")->Arg(0)->Arg(1)->Iterations(30)->UseManualTime()->Unit(benchmark::kMicrosecond);
#endif

}  // namespace

int main(int argc, char** argv)
{
    if (const char* order = std::getenv(kChild)) {
        runChild(order);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
