#include "db/SqliteCursor.h"

#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include <sched.h>

namespace kmd::db::sqlite {

// A column is read through its value object: one call finds the column, and the type, the
// bytes and their length are then read from that object. Reading them from the statement would
// find the column again at each call. The connection is opened without SQLite's mutex and used
// by one thread at a time, so the value needs no lock of its own.
void ReadColumn(sqlite3_stmt* st, int i, Value& v) {
  sqlite3_value* c = sqlite3_column_value(st, i);
  switch (sqlite3_value_type(c)) {
    case SQLITE_INTEGER:
      v.AssignWide(static_cast<long long>(sqlite3_value_int64(c)));
      break;
    case SQLITE_FLOAT:
      v.AssignDouble(sqlite3_value_double(c));
      break;
    case SQLITE_TEXT: {
      const char* p = reinterpret_cast<const char*>(sqlite3_value_text(c));
      v.AssignText(p, static_cast<size_t>(sqlite3_value_bytes(c)));
      break;
    }
    case SQLITE_BLOB: {
      const auto* p = static_cast<const unsigned char*>(sqlite3_value_blob(c));
      v = Value(Value::Bytes(p, p + sqlite3_value_bytes(c)));
      break;
    }
    default:
      v = Value::Null();
  }
}

void ReadRow(sqlite3_stmt* st, Row& row) {
  auto n = static_cast<size_t>(sqlite3_column_count(st));
  row.resize(n);
  for (size_t i = 0; i < n; ++i) ReadColumn(st, static_cast<int>(i), row[i]);
}

std::vector<std::string> ColumnNames(sqlite3_stmt* st) {
  std::vector<std::string> names;
  int n = sqlite3_column_count(st);
  for (int i = 0; i < n; ++i) names.emplace_back(sqlite3_column_name(st, i));
  return names;
}

std::string ErrorOf(sqlite3* db) {
  int code = sqlite3_errcode(db) & 0xFF;
  if (code == SQLITE_BUSY || code == SQLITE_LOCKED) return kBusyText;
  // A write past the file-size limit or onto a full disk is the engine's "full" error.
  int sys = sqlite3_system_errno(db);
  if (code == SQLITE_IOERR && (sys == EFBIG || sys == ENOSPC)) return sqlite3_errstr(SQLITE_FULL);
  return sqlite3_errmsg(db);
}

namespace {

// Rows read ahead, packed one after the other: a column is its SQLite type in a byte, then a
// 64-bit number, or a 32-bit length and that many bytes (nothing for NULL). A batch is written by
// the reader, then read by the loop, then written again: packed, it keeps what passes between the
// two cores small, and the loop makes values only of the columns it reads.
struct Batch {
  std::string data;
  std::vector<uint32_t> at;  // where each column of each row starts in data
  size_t count = 0;          // rows

  void Clear() {
    data.clear();
    at.clear();
    count = 0;
  }
  template <class T>
  void Put(const T& v) {
    data.append(reinterpret_cast<const char*>(&v), sizeof v);
  }
  void AddRow(sqlite3_stmt* st, int columns) {
    for (int i = 0; i < columns; ++i) {
      at.push_back(static_cast<uint32_t>(data.size()));
      sqlite3_value* c = sqlite3_column_value(st, i);  // as ReadColumn reads it
      int type = sqlite3_value_type(c);
      data.push_back(static_cast<char>(type));
      switch (type) {
        case SQLITE_INTEGER:
          Put(static_cast<int64_t>(sqlite3_value_int64(c)));
          break;
        case SQLITE_FLOAT:
          Put(sqlite3_value_double(c));
          break;
        case SQLITE_TEXT:
        case SQLITE_BLOB: {
          const char* p = type == SQLITE_TEXT ? reinterpret_cast<const char*>(sqlite3_value_text(c))
                                              : static_cast<const char*>(sqlite3_value_blob(c));
          auto size = static_cast<uint32_t>(sqlite3_value_bytes(c));
          Put(size);
          if (size) data.append(p, size);
          break;
        }
        default:
          break;
      }
    }
    ++count;
  }
  // Makes `v` the value of a column that AddRow packed at `offset`.
  void Get(size_t offset, Value& v) const {
    const char* p = data.data() + offset;
    switch (*p) {
      case SQLITE_INTEGER: {
        int64_t n;
        std::memcpy(&n, p + 1, sizeof n);
        v.AssignWide(n);
        break;
      }
      case SQLITE_FLOAT: {
        double d;
        std::memcpy(&d, p + 1, sizeof d);
        v.AssignDouble(d);
        break;
      }
      case SQLITE_TEXT:
      case SQLITE_BLOB: {
        uint32_t size;
        std::memcpy(&size, p + 1, sizeof size);
        const char* bytes = p + 1 + sizeof size;
        if (*p == SQLITE_TEXT) v.AssignText(bytes, size);
        else v = Value(Value::Bytes(bytes, bytes + size));
        break;
      }
      default:
        v = Value::Null();
    }
  }
};

// The live statement of a query. Its first step ran when it was opened, so that the failures of a
// statement that runs at all show there, as with Run. A row's values are read when asked for: a
// load that reads three columns of a wide table does not pay for the others. Before any other
// statement of the connection runs, the connection has the current row read in full, so a value
// read late is the value the row had when it was stepped to.
//
// A long read goes on in a thread of its own: once the loop has taken kAheadAfter rows, and while
// this is the connection's only open cursor, a reader steps the statement and packs whole rows
// into batches that the loop takes in turn, so that stepping the statement and the loop's own
// work on each row (building a tree) share the machine's cores. A new thread takes a while to
// run (tens of microseconds, on a virtual machine whose other core sleeps at times milliseconds):
// the loop steps on by itself until the reader has started, then hands the statement over. The
// connection is used by one thread at a time: before it runs anything else (another statement, a
// transaction's end, its close) it stops the reader, which finishes the row it is on; the loop
// then takes the rows read so far and steps the rest itself. A failure met by the reader is raised
// where the loop reaches it.
class SqliteCursor : public Cursor {
 public:
  // The statement keeps its connection's handle open (a closed connection waits for its
  // statements), so a cursor may outlive the connection object.
  SqliteCursor(sqlite3_stmt* st, int firstStep, std::shared_ptr<std::vector<Cursor*>> open)
      : m_St(st), m_Columns(ColumnNames(st)), m_Step(firstStep), m_Open(std::move(open)) {
    m_Open->push_back(this);
  }
  ~SqliteCursor() override {
    StopReader();
    std::erase(*m_Open, this);
    sqlite3_finalize(m_St);
  }
  SqliteCursor(const SqliteCursor&) = delete;
  SqliteCursor& operator=(const SqliteCursor&) = delete;

  const std::vector<std::string>& Columns() const override { return m_Columns; }
  bool Next(Row& row) override {
    if (m_Ahead && TakeAhead()) return Give(row, true);
    if (m_Handover && m_Step == SQLITE_ROW && HandOver() && TakeAhead()) return Give(row, true);
    // A reader is started once, at the row that makes kAheadAfter; after it has ended the
    // statement stands where it left it: at its end, or after the last row it read.
    if (m_Started && m_Step == SQLITE_ROW && ++m_Taken == kAheadAfter && m_Open->size() == 1 && Cores() > 1)
      StartReader();
    if (m_Started) m_Step = m_Step == SQLITE_ROW ? sqlite3_step(m_St) : m_Step;
    m_Started = true;
    if (m_Step == SQLITE_ROW) return Give(row, false);
    if (m_Handover) CallOffHandover();  // the statement ended before the reader could take it
    m_Row = nullptr;
    if (m_Step != SQLITE_DONE && m_Error.empty()) m_Error = ErrorOf(sqlite3_db_handle(m_St));
    return false;
  }
  void Read(size_t column) override {
    if (!m_Row || column >= m_Read.size() || m_Read[column]) return;
    Value& v = (*m_Row)[column];
    if (m_FromBatch) m_Current->Get(m_Current->at[m_RowAt + column], v);
    else ReadColumn(m_St, static_cast<int>(column), v);
    m_Read[column] = true;
  }
  void ReadAll() override {
    StopReader();
    for (size_t i = 0; i < m_Read.size(); ++i) Read(i);
  }
  std::string Error() const override { return m_Error; }

 private:
  static constexpr size_t kAheadAfter = 256;  // rows the loop steps itself before a reader starts
  static constexpr size_t kBatchRows = 64;
  static constexpr size_t kFirstBatchRows = 16;  // the loop waits for the first batch: a short one
  static constexpr size_t kBatches = 32;     // at most this many batches read and not yet taken
  // A reader that had to sleep for want of room is woken when this many batches are free again:
  // a sleeping thread may take long to get a core back, so it is woken with room to spare.
  static constexpr size_t kWakeAt = kBatches / 2;
  // How long a side waits for the other on its core before it sleeps. A sleeping thread may take
  // a millisecond to get a core back (on a virtual machine an idle core is given back to the
  // host), so while the other side is moving, waiting awake is much the quicker; a side stalled
  // for longer (a box open in the middle of a loop) is slept on.
  static constexpr auto kSpin = std::chrono::milliseconds(2);

  // The processors, asked once: the system answers by reading a file.
  static unsigned Cores() {
    static const unsigned cores = std::thread::hardware_concurrency();
    return cores;
  }

  // Waits on this core until `ready` or kSpin has passed; gives `ready`.
  template <class Ready>
  static bool Spin(Ready ready) {
    auto until = std::chrono::steady_clock::now() + kSpin;
    for (;;) {
      for (int i = 0; i < 64; ++i) {
        if (ready()) return true;
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#else
        std::this_thread::yield();
#endif
      }
      if (std::chrono::steady_clock::now() >= until) return ready();
      // The other side may be waiting for this core (a busy machine, or one core to share):
      // it gets it now, and when it has a core of its own this returns at once.
      std::this_thread::yield();
    }
  }

  // Keeps the calling thread off the core `cpu` runs on, where it has another core to run on.
  // The system tends to start a thread on the core of the thread that woke it; a reader started
  // there takes turns with the loop on one core, the other one idle, for as long as neither
  // sleeps (a load of 100,000 regions then takes 50 ms instead of 30).
  static void AvoidCore(int cpu) {
#ifdef __linux__
    cpu_set_t allowed;
    if (cpu < 0 || cpu >= CPU_SETSIZE || sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
    if (!CPU_ISSET(cpu, &allowed) || CPU_COUNT(&allowed) < 2) return;
    CPU_CLR(cpu, &allowed);
    sched_setaffinity(0, sizeof allowed, &allowed);
#else
    (void)cpu;
#endif
  }

  // Makes `row` the current row, its values to be read from the batch or from the statement.
  bool Give(Row& row, bool fromBatch) {
    row.resize(m_Columns.size());
    m_Row = &row;
    m_FromBatch = fromBatch;
    m_Read.assign(m_Columns.size(), false);
    return true;
  }

  // What the reader's thread and the loop know of the statement's handing over. A reader that
  // finds the handing over called off before it ran ends without touching the cursor, which may
  // be gone by then.
  enum Handover : int { kStarting, kWaiting, kHandedOver, kCalledOff };

  void StartReader() {
    auto handover = std::make_shared<std::atomic<int>>(kStarting);
    try {
#ifdef __linux__
      const int loopCore = sched_getcpu();
#else
      const int loopCore = -1;
#endif
      m_Reader = std::thread([this, handover, loopCore] {
        AvoidCore(loopCore);
        int starting = kStarting;
        if (!handover->compare_exchange_strong(starting, kWaiting)) return;
        // The loop looks at each row whether the reader waits: wait for it here, as it does,
        // before going to sleep.
        Spin([&] { return handover->load(std::memory_order_acquire) != kWaiting; });
        {
          std::unique_lock<std::mutex> lock(m_Mutex);
          m_RoomCv.wait(lock, [&] { return handover->load(std::memory_order_acquire) != kWaiting; });
        }
        if (handover->load(std::memory_order_acquire) == kHandedOver) ReadAhead();
      });
      m_Handover = std::move(handover);
    } catch (const std::system_error&) {
      // No thread to be had: the loop steps on by itself.
    }
  }

  // Hands the statement over to the reader if it waits for it; then the rows come from it.
  bool HandOver() {
    if (m_Handover->load(std::memory_order_acquire) != kWaiting) return false;
    m_Row = nullptr;  // the row given last is no longer current: nothing reads it any more
    {
      std::lock_guard<std::mutex> lock(m_Mutex);
      m_Handover->store(kHandedOver, std::memory_order_release);
    }
    m_RoomCv.notify_all();
    m_Handover.reset();
    m_Ahead = true;
    return true;
  }

  // Calls off a handing over not made yet: a reader that has not run yet is left to end by
  // itself, one that waits is told and waited for.
  void CallOffHandover() {
    int starting = kStarting;
    if (m_Handover->compare_exchange_strong(starting, kCalledOff)) {
      m_Reader.detach();
    } else {
      {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Handover->store(kCalledOff, std::memory_order_release);
      }
      m_RoomCv.notify_all();
      m_Reader.join();
    }
    m_Handover.reset();
  }

  // The reader's loop: fills free batches with whole rows until the statement ends or fails, or
  // until it is asked to stop.
  void ReadAhead() {
    const int columns = static_cast<int>(m_Columns.size());
    bool first = true;
    for (bool end = false; !end;) {
      std::unique_ptr<Batch> batch;
      {
        std::unique_lock<std::mutex> lock(m_Mutex);
        if (!Stopping() && m_Free.empty() && m_Made == kBatches) {
          // The loop gives a batch back every few microseconds: wait for it here, as it does,
          // before going to sleep.
          uint64_t seen = m_Returned.load(std::memory_order_relaxed);
          lock.unlock();
          Spin([&] {
            return m_Returned.load(std::memory_order_acquire) != seen || Stopping();
          });
          lock.lock();
        }
        if (!Stopping() && m_Free.empty() && m_Made == kBatches)
          m_RoomCv.wait(lock, [this] { return Stopping() || m_Free.size() >= kWakeAt; });
        if (Stopping()) break;
        if (m_Free.empty()) {
          batch = std::make_unique<Batch>();
          ++m_Made;
        } else {
          batch = std::move(m_Free.back());
          m_Free.pop_back();
        }
      }
      batch->Clear();
      const size_t rows = first ? kFirstBatchRows : kBatchRows;
      first = false;
      try {
        while (batch->count < rows && !Stopping()) {
          m_Step = sqlite3_step(m_St);
          if (m_Step != SQLITE_ROW) {
            if (m_Step != SQLITE_DONE) m_Error = ErrorOf(sqlite3_db_handle(m_St));
            end = true;
            break;
          }
          batch->AddRow(m_St, columns);
        }
      } catch (const std::exception& e) {
        // Out of memory while packing a row: the read ends there with that failure.
        m_Step = SQLITE_NOMEM;
        m_Error = e.what();
        end = true;
      }
      std::lock_guard<std::mutex> lock(m_Mutex);
      if (batch->count) m_Full.push_back(std::move(batch));
      else m_Free.push_back(std::move(batch));
      m_Events.fetch_add(1, std::memory_order_release);
      if (Stopping()) end = true;
      m_RowsCv.notify_one();
    }
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_ReaderDone = true;
    m_Events.fetch_add(1, std::memory_order_release);
    m_RowsCv.notify_one();
  }

  // Moves to the next row read ahead; false when the reader has ended and every row it read was
  // taken (the statement then stands where the reader left it, and m_Step says how it ended).
  bool TakeAhead() {
    for (;;) {
      if (m_Current && m_Pos < m_Current->count) {
        m_RowAt = m_Pos++ * m_Columns.size();
        return true;
      }
      std::unique_lock<std::mutex> lock(m_Mutex);
      if (m_Current) {
        m_Free.push_back(std::move(m_Current));
        m_Returned.fetch_add(1, std::memory_order_release);
        if (m_Free.size() == kWakeAt) m_RoomCv.notify_one();
      }
      if (m_Full.empty() && !m_ReaderDone) {
        // The next batch is usually a few microseconds away: waiting for it on this core costs
        // less than sleeping and being woken.
        uint64_t seen = m_Events.load(std::memory_order_relaxed);
        lock.unlock();
        Spin([&] { return m_Events.load(std::memory_order_acquire) != seen; });
        lock.lock();
      }
      m_RowsCv.wait(lock, [this] { return !m_Full.empty() || m_ReaderDone; });
      if (m_Full.empty()) break;
      m_Current = std::move(m_Full.front());
      m_Full.pop_front();
      m_Pos = 0;
    }
    if (m_Reader.joinable()) m_Reader.join();
    m_Ahead = false;
    m_Free.clear();
    return false;
  }

  // Has the reader stop after the row it is on; the rows it read stay to be taken.
  void StopReader() {
    if (m_Handover) CallOffHandover();
    if (!m_Reader.joinable()) return;
    {
      // Set under the lock, so that a reader about to sleep on m_RoomCv sees it or is woken.
      std::lock_guard<std::mutex> lock(m_Mutex);
      m_Stop.store(true, std::memory_order_relaxed);
    }
    m_RoomCv.notify_all();
    m_Reader.join();
  }

  sqlite3_stmt* m_St;
  std::vector<std::string> m_Columns;
  int m_Step;  // written by the reader while it runs
  bool m_Started = false;
  std::string m_Error;  // written by the reader while it runs
  std::shared_ptr<std::vector<Cursor*>> m_Open;
  Row* m_Row = nullptr;      // the row last given to Next, while it is current
  bool m_FromBatch = false;  // its values come from m_Current's row at m_RowAt, not the statement
  std::vector<bool> m_Read;  // its values read so far
  size_t m_Taken = 0;        // rows the loop stepped itself

  // Reading ahead: the batches pass between the loop and the reader under m_Mutex.
  bool m_Ahead = false;  // rows are taken from the reader's batches
  std::thread m_Reader;
  std::shared_ptr<std::atomic<int>> m_Handover;  // while the reader has started and not taken over
  std::mutex m_Mutex;
  std::condition_variable m_RowsCv;  // the loop waits here for rows
  std::condition_variable m_RoomCv;  // the reader waits here for free batches
  std::deque<std::unique_ptr<Batch>> m_Full;
  std::vector<std::unique_ptr<Batch>> m_Free;
  size_t m_Made = 0;
  bool m_ReaderDone = false;
  std::atomic<bool> m_Stop{false};  // the reader is to stop after its current row
  bool Stopping() const { return m_Stop.load(std::memory_order_relaxed); }
  std::atomic<uint64_t> m_Events{0};    // batches given and the reader's end, for a wait that spins
  std::atomic<uint64_t> m_Returned{0};  // batches given back, for the reader's wait
  std::unique_ptr<Batch> m_Current;   // the batch the loop takes rows from
  size_t m_Pos = 0;                   // its next row
  size_t m_RowAt = 0;                 // where the current row's columns start in its `at`
};

}  // namespace

std::unique_ptr<Cursor> MakeCursor(sqlite3_stmt* st, int firstStep, std::shared_ptr<std::vector<Cursor*>> open) {
  return std::make_unique<SqliteCursor>(st, firstStep, std::move(open));
}

}  // namespace kmd::db::sqlite
