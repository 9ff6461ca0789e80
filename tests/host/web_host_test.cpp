// The browser host's API, driven without a browser: form windows on their own threads, dialogs
// that suspend the form until the page answers, refused requests, the journal, and clean closing.
#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <thread>

#include "db/Connection.h"
#include "host/ServerProcess.h"
#include "host/Setup.h"
#include "host/WebHost.h"
#include "support/FileText.h"
#include "view/LargeMemory.h"

namespace fs = std::filesystem;
using nlohmann::json;
using kmd::host::WebHost;
using kmd::host::WebReply;

namespace {

class WebHostTest : public testing::Test {
 protected:
  void SetUp() override {
    m_Dir = kmd::test::ScratchDir("kmd_web");
    m_Db = (m_Dir / "test.db").string();
    kmd::host::InitDatabase(m_Db, true);
    m_Host = std::make_unique<WebHost>(WebHost::Options{m_Db, {"tester", (m_Dir / "home").string(), ""}});
  }
  void TearDown() override {
    m_Host.reset();
    fs::remove_all(m_Dir);
  }

  // `path` may carry a query "?a=1&b=2".
  WebReply Call(const std::string& method, std::string path, const json& body = nullptr) {
    std::map<std::string, std::string> query;
    if (auto q = path.find('?'); q != std::string::npos) {
      std::istringstream pairs(path.substr(q + 1));
      for (std::string pair; std::getline(pairs, pair, '&');)
        query[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
      path.resize(q);
    }
    return m_Host->Handle({method, path, query, body.is_null() ? "" : body.dump()});
  }
  // A request that must succeed.
  json Ok(const std::string& method, const std::string& path, const json& body = nullptr) {
    WebReply r = Call(method, path, body);
    EXPECT_EQ(r.status, 200) << method << " " << path << " " << body.dump() << " -> " << r.body.dump();
    return r.body;
  }
  // A window's path, "/api/windows/<id>".
  std::string Open(const std::string& cls) {
    return "/api/windows/" + Ok("POST", "/api/windows", {{"class", cls}})["window"].get<std::string>();
  }
  json Act(const std::string& w, json action) { return Ok("POST", w + "/action", action); }
  json Command(const std::string& w, const std::string& c) { return Act(w, {{"kind", "command"}, {"command", c}}); }
  json Type(const std::string& w, const std::string& control, const std::string& text) {
    return Act(w, {{"kind", "type"}, {"control", control}, {"text", text}});
  }
  json Answer(const std::string& w, const json& reply, const json& answer) {
    return Ok("POST", w + "/answer", {{"dialog", reply["dialog"]["id"]}, {"answer", answer}});
  }
  static const json* Control(const json& reply, const std::string& name) {
    for (const auto& c : reply["view"]["controls"])
      if (c["name"] == name) return &c;
    return nullptr;
  }
  size_t Rows(const std::string& sql) {
    kmd::db::QueryResult r;
    EXPECT_EQ(kmd::db::Open(m_Db)->Run(sql, {}, &r), "");
    return r.rows.size();
  }

  fs::path m_Dir;
  std::string m_Db;
  std::unique_ptr<WebHost> m_Host;
};

size_t Entries(const char* dir) {
  return static_cast<size_t>(std::distance(fs::directory_iterator(dir), fs::directory_iterator()));
}

TEST_F(WebHostTest, UnitLifeWithBoxesEventsAndJournal) {
  std::string w = Open("JLDW");
  json r = Ok("GET", w + "?first=1&count=2");
  const json* tv = Control(r, "TV");
  ASSERT_NE(tv, nullptr);
  EXPECT_EQ((*tv)["tree"]["count"], 5);
  ASSERT_EQ((*tv)["tree"]["rows"].size(), 2u);
  EXPECT_EQ((*tv)["tree"]["rows"][0]["key"].dump() + (*tv)["tree"]["rows"][0]["depth"].dump(), "\"k4\"1");
  EXPECT_EQ(r["view"]["toolbar"]["FileSave"], false);

  r = Command(w, "FileNew");
  EXPECT_EQ(r["result"], true);
  EXPECT_EQ(r["view"]["focus"], "qnT(0)");
  EXPECT_TRUE(r["view"]["toolbar"]["FileSave"] == true && r["view"]["toolbar"]["FileNew"] == false);
  Type(w, "qnT(0)", "KG");
  Type(w, "qnT(1)", "公斤");

  // The duplicate box suspends FileSave; the form waits and refuses other work meanwhile.
  json box = Command(w, "FileSave");
  ASSERT_TRUE(box["dialog"].is_object()) << box.dump();
  EXPECT_FALSE(box.contains("result"));
  for (const char* part : {"kind", "title", "icon", "text"}) box["shown"] += box["dialog"][part];
  EXPECT_EQ(box["shown"], json({"msgbox", "提示：", "exclamation", "代码(KG)重复,请检查!"}));
  EXPECT_EQ(Call("POST", w + "/action", {{"kind", "command"}, {"command", "FileCancel"}}).status, 409);
  EXPECT_EQ(Call("POST", w + "/answer", {{"dialog", 99}, {"answer", 1}}).status, 409);
  EXPECT_EQ(Call("POST", w + "/answer", {{"dialog", box["dialog"]["id"]}, {"answer", 6}}).status, 400);
  EXPECT_EQ(Ok("GET", w)["dialog"], box["dialog"]);
  r = Answer(w, box, 1);
  EXPECT_TRUE(r["result"] == false && r["dialog"].is_null());
  EXPECT_EQ(Call("POST", w + "/answer", {{"dialog", box["dialog"]["id"]}, {"answer", 1}}).status, 409);

  Type(w, "qnT(0)", "T");
  Type(w, "qnT(1)", "吨");
  r = Command(w, "FileSave");
  EXPECT_EQ(r["result"], true);
  EXPECT_EQ(Control(r, "TV")->at("tree")["selectedKey"], "k5");
  EXPECT_EQ(Rows("select * from kmdjldw where 代码='T'"), 1u);

  // Delete: Yes deletes with a journal line that the journal request shows.
  Act(w, {{"kind", "pick"}, {"control", "TV"}, {"key", "k4"}});
  box = Command(w, "FileDelete");
  EXPECT_EQ(box["dialog"]["cancel"], 7);
  r = Answer(w, box, 6);
  EXPECT_EQ(r["result"], true);
  EXPECT_EQ(Rows("select * from kmdjldw where 单位ID=4"), 0u);
  ASSERT_EQ(r["events"].size(), 1u);
  EXPECT_EQ(r["events"][0]["level"].dump() + " " + r["events"][0]["text"].get<std::string>(), "1 删除计量单位BOX  箱");
  EXPECT_EQ(Ok("GET", "/api/journal")["lines"][0]["text"], "删除计量单位BOX  箱");
}

// A product's picture reaches the page as a data address with its place in its frame.
TEST_F(WebHostTest, APictureIsDrawnWhereTheFormPlacedIt) {
  std::string w = Open("CPML");
  Act(w, {{"kind", "pick"}, {"control", "TV"}, {"key", "wC001"}});
  json r = Act(w, {{"kind", "click"}, {"control", "Toolbar1"}, {"button", 5}});
  const json* image = Control(r, "imgCpml");
  ASSERT_NE(image, nullptr);
  EXPECT_EQ((*image)["kind"], "image");
  EXPECT_EQ((*image)["frame"], json({{"height", 3600}, {"width", 4800}}));
  EXPECT_EQ((*image)["top"].dump() + " " + (*image)["width"].dump() + "x" + (*image)["height"].dump(), "600 60x30");
  EXPECT_EQ((*image)["src"].get<std::string>().substr(0, 26), "data:image/bmp;base64,Qk1O");
  EXPECT_EQ(Call("POST", w + "/action", {{"kind", "dblclick"}, {"control", "Chk(2)"}}).status, 400);
}

// The employee form's own tool is a toggle of the page: off at first, on after its action (the
// key in any case); a form without tools shows none and refuses the action.
TEST_F(WebHostTest, AFormsOwnToolIsAToggle) {
  std::string w = Open("GY"), u = Open("JLDW");
  EXPECT_EQ(Ok("GET", w)["view"]["tools"], json::parse(R"([{"key":"autobm","caption":"编号自动序列增加","on":false}])"));
  EXPECT_EQ(Act(w, {{"kind", "tool"}, {"key", "AutoBM"}})["view"]["tools"][0]["on"], true);
  EXPECT_EQ(Ok("GET", u)["view"]["tools"], json::array());
  EXPECT_EQ(Call("POST", u + "/action", {{"kind", "tool"}, {"key", "autobm"}}).status, 400);
}

TEST_F(WebHostTest, BadRequestsChangeNothing) {
  std::string path = Open("JLDW");
  int64_t version = Ok("GET", path)["version"];
  struct Bad {
    std::string method, path;
    std::string body;
    int status;
  } bad[] = {
      {"GET", "/api/windows/1", "", 404},
      {"POST", "/api/windows/00000000000000000000000000000000/action", R"({"kind": "command", "command": "FileNew"})", 404},
      {"POST", "/api/windows", "{\"class\": \"NOSUCH\"}", 404},
      {"POST", "/api/windows", "[1", 400},
      {"POST", "/api/windows", "{}", 400},
      {"POST", path + "/action", "{\"control\": \"qnT(0)\"}", 400},
      {"POST", path + "/action", R"J({"kind": "type", "control": "qnT(9)", "text": "x"})J", 404},
      {"POST", path + "/action", R"J({"kind": "type", "control": "qnT(0)", "text": "x"})J", 409},  // locked
      {"POST", path + "/action", R"J({"kind": "type", "control": "TV"})J", 400},
      {"POST", path + "/action", R"J({"kind": "pick", "control": "TV", "key": "k99"})J", 404},
      {"POST", path + "/action", R"J({"kind": "command", "command": "Format"})J", 400},
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew", "version": -3})J", 409},
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew", "rows": [0]})J", 400},
      // One JSON value, nothing after it, numbers whole and within 32 bits, at most 1 MiB.
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew"} {})J", 400},
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew", "rows": [0, 4294967297]})J", 400},
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew", "rows": [0, 1e400]})J", 400},
      {"POST", path + "/action", R"J({"kind": "command", "command": "FileNew", "version": 1.5})J", 400},
      {"POST", "/api/windows", R"J({"class": "JLDW", "program": -2147483649})J", 400},
      {"POST", path + "/action", std::string(WebHost::kMaxBody - 10, '[') + "{}", 400},
      {"POST", path + "/action", R"({"kind": "command", "command": "FileNew", "pad": ")" + std::string(WebHost::kMaxBody, ' ') + "\"}", 413},
      {"POST", path + "/answer", R"({"dialog": 1, "answer": 1})", 409},
      {"POST", path + "/explode", "{}", 404},
      {"PUT", path, "", 404},
  };
  for (const auto& b : bad) {
    WebReply r = m_Host->Handle({b.method, b.path, {}, b.body});
    EXPECT_EQ(r.status, b.status) << b.method << " " << b.path << " " << b.body;
    EXPECT_TRUE(r.body["error"].is_string()) << r.body.dump();
  }
  WebReply r = m_Host->Handle({"GET", path, {{"count", "-1"}}, ""});
  EXPECT_EQ(r.status, 400);
  json after = Ok("GET", path);
  EXPECT_TRUE(after["version"] == version && after["view"]["toolbar"]["FileNew"] == true) << after.dump();
  EXPECT_EQ(Control(after, "qnT(0)")->at("text"), "");
  EXPECT_EQ(m_Host->WindowCount(), 1u);
  EXPECT_EQ(Act(path, {{"kind", "command"}, {"command", "FileNew"}, {"version", version}})["result"], true);
}

TEST_F(WebHostTest, ClosingSavesTheSelectionThatTheNextWindowRestores) {
  std::string w = Open("JLDW");
  Act(w, {{"kind", "pick"}, {"control", "TV"}, {"key", "k3"}});
  Ok("POST", w + "/close");
  EXPECT_EQ(Call("GET", w).status, 404);
  json r = Ok("POST", "/api/windows", {{"class", "jldw"}});
  EXPECT_EQ(Control(r, "TV")->at("tree")["selectedKey"], "k3");
  EXPECT_EQ(Control(r, "qnT(0)")->at("text"), "M");
  // Two windows of one form live side by side, up to the host's limit.
  std::string other = Open("JLDW");
  EXPECT_NE(other, "/api/windows/" + r["window"].get<std::string>());
  EXPECT_EQ(Ok("GET", "/api/windows")["windows"].size(), 2u);
  m_Host = std::make_unique<WebHost>(WebHost::Options{m_Db, {"tester", (m_Dir / "home").string(), ""}, std::chrono::seconds(15),
                                                      std::chrono::minutes(10), 2});
  w = Open("JLDW");
  Open("XSY");
  WebReply full = Call("POST", "/api/windows", {{"class", "JLDW"}});
  EXPECT_EQ(full.status, 429);
  EXPECT_NE(full.body["error"].get<std::string>().find("2 windows are open"), std::string::npos);
  Ok("POST", w + "/close");
  Open("JLDW");
}

TEST_F(WebHostTest, FiftyWindowsLeaveNoThreadOrHandleBehind) {
  // One window first, so that lazily made statics exist before counting.
  Ok("POST", Open("JLDW") + "/close");
  size_t threads = Entries("/proc/self/task");
  size_t files = Entries("/proc/self/fd");
  for (int i = 0; i < 50; ++i) {
    std::string w = Open(i % 2 ? "JLDW" : "XSY");
    if (i % 5 == 0) {
      // Some are closed while a box waits for its answer.
      Command(w, "FileNew");
      ASSERT_TRUE(Command(w, "FileSave")["dialog"].is_object());
    }
    Ok("POST", w + "/close");
  }
  EXPECT_EQ(m_Host->WindowCount(), 0u);
  // A joined thread's task can stay listed a moment after the join, on a busy machine.
  for (int i = 0; i < 100 && Entries("/proc/self/task") != threads; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(Entries("/proc/self/task"), threads);
  EXPECT_EQ(Entries("/proc/self/fd"), files);
}

TEST_F(WebHostTest, WindowsThatNoPageNamesAreClosedWithTheirStatusSaved) {
  m_Host = std::make_unique<WebHost>(
      WebHost::Options{m_Db, {"tester", (m_Dir / "home").string(), ""}, std::chrono::seconds(15), std::chrono::milliseconds(300)});
  std::string kept = Open("JLDW");
  std::string left = Open("JLDW");
  Act(left, {{"kind", "pick"}, {"control", "TV"}, {"key", "k3"}});
  for (int i = 0; i < 8; ++i) {
    Ok("POST", kept + "/ping");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(Call("GET", left).status, 404);
  EXPECT_EQ(m_Host->WindowCount(), 1u);
  json r = Ok("POST", "/api/windows", {{"class", "JLDW"}});
  EXPECT_EQ(Control(r, "TV")->at("tree")["selectedKey"], "k3");
}

TEST_F(WebHostTest, AClosedWindowsLargeBlocksAreKeptForTheNextAndReleasedAfterAMoment) {
  WebHost::Options options{m_Db, {"tester", (m_Dir / "home").string(), ""}};
  options.release = std::chrono::milliseconds(200);
  m_Host = std::make_unique<WebHost>(options);
  // A block as a large tree frees it: kept, and given to the next taker of that size.
  constexpr size_t kBlock = kmd::view::kHugePage;
  void* block = kmd::view::MapLarge(kBlock);
  ASSERT_NE(block, nullptr);
  static_cast<char*>(block)[kBlock - 1] = 1;
  kmd::view::UnmapLarge(block, kBlock);
  EXPECT_EQ(kmd::view::FreedBlockBytes(), kBlock);
  void* again = kmd::view::MapLarge(kBlock);
  EXPECT_EQ(again, block);
  EXPECT_EQ(kmd::view::FreedBlockBytes(), 0u);
  kmd::view::UnmapLarge(again, kBlock);
  // Nothing is released while no window closes; a close releases it all a moment later.
  std::string w = Open("JLDW");
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  EXPECT_EQ(kmd::view::FreedBlockBytes(), kBlock);
  Ok("POST", w + "/close");
  for (int i = 0; i < 200 && kmd::view::FreedBlockBytes(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(kmd::view::FreedBlockBytes(), 0u);
}

// Real HTTP on 127.0.0.1: the page, and an API that acts only for it.
class WebHttpTest : public WebHostTest {
 protected:
  void SetUp() override {
    WebHostTest::SetUp();
    WebHost::Options options{m_Db, {"tester", (m_Dir / "home").string(), ""}};
    options.request = std::chrono::milliseconds(300);
    m_Host = std::make_unique<WebHost>(options);
    m_Port = m_Host->Bind("127.0.0.1", 0);
    ASSERT_GT(m_Port, 0);
    m_Server = std::thread([this] { m_Host->Serve(); });
    m_Own = "127.0.0.1:" + std::to_string(m_Port);
    m_Client = std::make_unique<httplib::Client>("127.0.0.1", m_Port);
    for (int i = 0; i < 100 && !m_Client->Get("/"); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  void TearDown() override {
    m_Host->Stop();
    m_Server.join();
    WebHostTest::TearDown();
  }
  int m_Port = 0;
  std::string m_Own;
  std::thread m_Server;
  std::unique_ptr<httplib::Client> m_Client;
};

TEST_F(WebHttpTest, TheApiActsOnlyForItsOwnPage) {
  auto page = m_Client->Get("/");
  ASSERT_TRUE(page && page->status == 200);
  EXPECT_EQ(page->get_header_value("X-Frame-Options"), "DENY");
  EXPECT_NE(page->get_header_value("Content-Security-Policy").find("script-src 'self'"), std::string::npos);
  EXPECT_EQ(m_Client->Get("/nosuch.js")->status, 404);

  httplib::Headers own = {{"Origin", "http://" + m_Own}};
  auto opened = m_Client->Post("/api/windows", own, R"({"class": "JLDW"})", "application/json");
  ASSERT_TRUE(opened && opened->status == 200);
  std::string path = "/api/windows/" + json::parse(opened->body)["window"].get<std::string>();
  EXPECT_EQ(m_Client->Get("/api/windows", {{"Host", "LOCALHOST:" + std::to_string(m_Port)}})->status, 200);
  int64_t version = json::parse(m_Client->Get(path.c_str())->body)["version"];
  size_t units = Rows("select * from kmdjldw");

  const std::string newRecord = R"({"kind": "command", "command": "FileNew"})";
  struct Bad {
    httplib::Headers headers;
    std::string path, type, body;
    int status;
  } bad[] = {
      {{{"Origin", "http://evil.example"}}, path + "/action", "application/json", newRecord, 403},
      {{{"Origin", "null"}}, "/api/windows", "application/json", R"({"class": "JLDW"})", 403},
      {{{"Origin", "http://127.0.0.1:1"}}, path + "/action", "application/json", newRecord, 403},
      {{{"Host", "evil.example:" + std::to_string(m_Port)}}, path + "/action", "application/json", newRecord, 403},
      {{{"Host", "localhost.evil.example"}}, "/api/windows", "application/json", R"({"class": "JLDW"})", 403},
      {own, path + "/action", "text/plain", newRecord, 415},
      {own, "/api/windows", "application/x-www-form-urlencoded", R"({"class": "JLDW"})", 415},
      {own, path + "/action", "application/json", std::string(2 << 20, ' ') + newRecord, 413},
      {own, "/api/windows/" + std::string(32, '0') + "/action", "application/json", newRecord, 404},
  };
  for (const auto& b : bad) {
    auto r = m_Client->Post(b.path.c_str(), b.headers, b.body, b.type.c_str());
    ASSERT_TRUE(r) << b.path << " " << httplib::to_string(r.error());
    EXPECT_EQ(r->status, b.status) << b.path << " " << b.type;
    EXPECT_TRUE(json::parse(r->body, nullptr, false)["error"].is_string()) << r->body;
  }
  // A body without a length would be read whole before it could be measured.
  auto chunked = m_Client->Post((path + "/action").c_str(), own, [&](size_t, httplib::DataSink& sink) {
    sink.write(newRecord.data(), newRecord.size());
    sink.done();
    return true;
  }, "application/json");
  EXPECT_EQ(chunked->status, 411);
  EXPECT_EQ(m_Client->Get(path.c_str(), {{"Origin", "http://evil.example"}})->status, 403);
  EXPECT_EQ(m_Client->Delete(path.c_str(), {{"Host", "evil.example"}})->status, 403);
  // Nothing was done: one window, still in browse state, and no record saved.
  EXPECT_EQ(m_Host->WindowCount(), 1u);
  json view = json::parse(m_Client->Get(path.c_str())->body);
  EXPECT_TRUE(view["version"] == version && view["view"]["toolbar"]["FileNew"] == true);
  EXPECT_EQ(Rows("select * from kmdjldw"), units);
  // The page's own requests work on the same connection after all that.
  EXPECT_EQ(m_Client->Post((path + "/action").c_str(), own, newRecord, "application/json")->status, 200);
}

TEST_F(WebHttpTest, SlowClientsAreCutOffWithoutBlockingOthers) {
  std::vector<int> slow;
  for (int i = 0; i < 16; ++i) {
    int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{AF_INET, htons(uint16_t(m_Port)), {htonl(INADDR_LOOPBACK)}, {}};
    ASSERT_EQ(::connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
    std::string start = "GET /api/info HTTP/1.1\r\nHost: " + m_Own + "\r\n";
    ::send(s, start.data(), start.size(), MSG_NOSIGNAL);
    slow.push_back(s);
  }
  // They send a header line every 50 ms; meanwhile others are served at once.
  auto begin = std::chrono::steady_clock::now();
  auto info = m_Client->Get("/api/info");
  ASSERT_TRUE(info && info->status == 200);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(250));
  size_t cut = 0;
  while (cut < slow.size() && std::chrono::steady_clock::now() - begin < std::chrono::seconds(1)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    cut = 0;
    for (int s : slow) cut += ::send(s, "X-A: b\r\n", 8, MSG_NOSIGNAL) < 0;
  }
  EXPECT_EQ(cut, slow.size());
  for (int s : slow) ::close(s);
}


// The check the server makes before it starts: a set-up database passes, a database without the
// schema and a missing file are told.
TEST_F(WebHostTest, StartCheckTellsADatabaseWithoutTheSchema) {
  EXPECT_EQ(kmd::host::CheckDatabase(m_Db), "");
  std::string empty = (m_Dir / "empty.db").string();
  kmd::db::Open(empty, true);
  EXPECT_NE(kmd::host::CheckDatabase(empty).find(empty + " is not a kmd database"), std::string::npos);
  EXPECT_NE(kmd::host::CheckDatabase((m_Dir / "missing.db").string()), "");
}
}  // namespace
