#include "db/Dialect.h"

#include <cctype>
#include <vector>

#include "base/Text.h"

namespace kmd::db::dialect {

namespace {

enum class Kind { Word, Literal, Ident, Space, Punct, Date };

struct Token {
  Kind kind;
  std::string text;
  int depth = 0;  // parenthesis depth at the token
};

bool IsWordChar(unsigned char c) {
  return c == '_' || c == '@' || c == '$' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
         (c >= 'A' && c <= 'Z') || c >= 0x80;
}

std::vector<Token> Tokenize(const std::string& s) {
  std::vector<Token> out;
  int depth = 0;
  size_t i = 0;
  while (i < s.size()) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t start = i;
    Kind kind;
    if (c == '\'') {
      ++i;
      while (i < s.size()) {
        if (s[i] == '\'') {
          if (i + 1 < s.size() && s[i + 1] == '\'') { i += 2; continue; }
          ++i;
          break;
        }
        ++i;
      }
      kind = Kind::Literal;
    } else if (c == '"' || c == '[' || c == '`') {
      char close = c == '[' ? ']' : static_cast<char>(c);
      ++i;
      while (i < s.size() && s[i] != close) ++i;
      if (i < s.size()) ++i;
      kind = Kind::Ident;
    } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\r' || s[i] == '\n')) ++i;
      kind = Kind::Space;
    } else if (c == '#') {
      // A date literal: #...# with digits and separators only, on one line.
      size_t j = i + 1;
      while (j < s.size() && (std::isdigit(static_cast<unsigned char>(s[j])) || s[j] == '-' || s[j] == '/' ||
                              s[j] == ':' || s[j] == ' ' || s[j] == '.'))
        ++j;
      if (j < s.size() && s[j] == '#' && j > i + 1) {
        i = j + 1;
        kind = Kind::Date;
      } else {
        ++i;
        kind = Kind::Punct;
      }
    } else if (IsWordChar(c)) {
      while (i < s.size() && IsWordChar(static_cast<unsigned char>(s[i]))) ++i;
      kind = Kind::Word;
    } else {
      ++i;
      kind = Kind::Punct;
    }
    Token t{kind, s.substr(start, i - start), depth};
    if (kind == Kind::Punct && t.text == "(") ++depth;
    if (kind == Kind::Punct && t.text == ")") {
      --depth;
      t.depth = depth;
    }
    out.push_back(std::move(t));
  }
  return out;
}

bool Is(const Token& t, const char* word) { return t.kind == Kind::Word && text::EqualsNoCase(t.text, word); }

// Index of the next token that is not blank, from i on; tokens.size() when none.
size_t NextSolid(const std::vector<Token>& t, size_t i) {
  while (i < t.size() && t[i].kind == Kind::Space) ++i;
  return i;
}

std::string Join(const std::vector<Token>& t, size_t from = 0, size_t to = std::string::npos) {
  std::string out;
  for (size_t i = from; i < t.size() && i < to; ++i) out += t[i].text;
  return out;
}

void DropDbo(std::vector<Token>& t) {
  for (size_t i = 0; i + 1 < t.size(); ++i) {
    if (Is(t[i], "dbo") && t[i + 1].kind == Kind::Punct && t[i + 1].text == "." &&
        (i == 0 || t[i - 1].kind != Kind::Punct || t[i - 1].text != ".")) {
      t.erase(t.begin() + static_cast<long>(i), t.begin() + static_cast<long>(i) + 2);
      --i;
    }
  }
}

void IsNullTo(std::vector<Token>& t, const char* function) {
  for (size_t i = 0; i < t.size(); ++i) {
    if (!Is(t[i], "isnull")) continue;
    size_t j = NextSolid(t, i + 1);
    if (j < t.size() && t[j].text == "(") t[i].text = function;
  }
}

void DateLiterals(std::vector<Token>& t) {
  for (auto& tok : t)
    if (tok.kind == Kind::Date) {
      tok.text = "'" + tok.text.substr(1, tok.text.size() - 2) + "'";
      tok.kind = Kind::Literal;
    }
}

// SELECT [DISTINCT|ALL] TOP n: the TOP clause is removed and " LIMIT n" is put at the end of the
// query it belongs to (before the closing parenthesis of a subquery).
void TopToLimit(std::vector<Token>& t) {
  for (size_t i = 0; i < t.size(); ++i) {
    if (!Is(t[i], "select")) continue;
    size_t j = NextSolid(t, i + 1);
    if (j < t.size() && (Is(t[j], "distinct") || Is(t[j], "all"))) j = NextSolid(t, j + 1);
    if (j >= t.size() || !Is(t[j], "top")) continue;
    size_t n = NextSolid(t, j + 1);
    bool paren = false;
    if (n < t.size() && t[n].text == "(") {
      paren = true;
      n = NextSolid(t, n + 1);
    }
    if (n >= t.size() || t[n].kind != Kind::Word || !std::isdigit(static_cast<unsigned char>(t[n].text[0]))) continue;
    std::string count = t[n].text;
    size_t end = n + 1;
    if (paren) {
      end = NextSolid(t, end);
      if (end < t.size() && t[end].text == ")") ++end;
    }
    int depth = t[i].depth;
    // Remove "TOP n" with the blank behind it.
    size_t eraseEnd = end;
    if (eraseEnd < t.size() && t[eraseEnd].kind == Kind::Space) ++eraseEnd;
    t.erase(t.begin() + static_cast<long>(j), t.begin() + static_cast<long>(eraseEnd));
    size_t k = j;
    while (k < t.size() && !(t[k].depth < depth) && !(t[k].depth == depth && t[k].text == ";")) ++k;
    // Put LIMIT behind the last solid token of the query.
    size_t insertAt = k;
    while (insertAt > j && t[insertAt - 1].kind == Kind::Space) --insertAt;
    t.insert(t.begin() + static_cast<long>(insertAt), Token{Kind::Word, " LIMIT " + count, depth});
  }
}

void DeleteWithoutFrom(std::vector<Token>& t) {
  size_t i = NextSolid(t, 0);
  if (i >= t.size() || !Is(t[i], "delete")) return;
  size_t j = NextSolid(t, i + 1);
  if (j >= t.size() || Is(t[j], "from") || t[j].kind == Kind::Punct) return;
  t.insert(t.begin() + static_cast<long>(j), Token{Kind::Word, "FROM ", 0});
}

bool IsClauseWord(const Token& t) {
  static const char* words[] = {"left", "right", "inner", "outer", "join", "cross", "full", "where",
                                "on", "group", "order", "set", "as"};
  for (auto w : words)
    if (Is(t, w)) return true;
  return false;
}

// `rowid` names the engine's physical row address: rowid on SQLite, ctid on PostgreSQL.
void UpdateFrom(std::vector<Token>& t, const char* rowid) {
  size_t u = NextSolid(t, 0);
  if (u >= t.size() || !Is(t[u], "update")) return;
  size_t target = NextSolid(t, u + 1);
  if (target >= t.size()) return;
  size_t from = t.size(), where = t.size();
  for (size_t i = target + 1; i < t.size(); ++i) {
    if (t[i].depth != 0) continue;
    if (from == t.size() && Is(t[i], "from")) from = i;
    else if (from != t.size() && Is(t[i], "where")) { where = i; break; }
  }
  if (from == t.size()) return;
  // The first table of the FROM list and its alias.
  size_t tab = NextSolid(t, from + 1);
  if (tab >= t.size()) return;
  std::string alias = t[tab].text;
  size_t a = NextSolid(t, tab + 1);
  if (a < t.size() && Is(t[a], "as")) a = NextSolid(t, a + 1);
  if (a < t.size() && t[a].kind == Kind::Word && !IsClauseWord(t[a])) alias = t[a].text;
  std::string targetName = t[target].text;
  std::string realTable = targetName;
  if (text::EqualsNoCase(targetName, alias)) realTable = t[tab].text;

  std::string head = Join(t, 0, target) + realTable + Join(t, target + 1, from);
  while (!head.empty() && head.back() == ' ') head.pop_back();
  std::string fromPart = Join(t, from + 1, where);
  while (!fromPart.empty() && fromPart.back() == ' ') fromPart.pop_back();
  std::string wherePart = where < t.size() ? " " + Join(t, where) : "";
  std::string sql = head + " WHERE " + rowid + " IN (SELECT " + alias + "." + rowid + " FROM" + fromPart + wherePart + ")";
  t = Tokenize(sql);
}

bool IsPunct(const Token& t, const char* text) { return t.kind == Kind::Punct && t.text == text; }

// Index of the solid token before i, or npos.
size_t PrevSolid(const std::vector<Token>& t, size_t i) {
  while (i > 0) {
    if (t[--i].kind != Kind::Space) return i;
  }
  return std::string::npos;
}

// "+" with a string literal on either side joins texts.
void PlusToConcat(std::vector<Token>& t) {
  for (size_t i = 0; i < t.size(); ++i) {
    if (!IsPunct(t[i], "+")) continue;
    size_t before = PrevSolid(t, i), after = NextSolid(t, i + 1);
    if ((before != std::string::npos && t[before].kind == Kind::Literal) ||
        (after < t.size() && t[after].kind == Kind::Literal))
      t[i].text = "||";
  }
}

void LikeToILike(std::vector<Token>& t) {
  for (auto& tok : t)
    if (Is(tok, "like")) tok.text = "ILIKE";
}

// Each item of an ORDER BY gets the NULL placement of the suite's server: first when ascending,
// last when descending.
void NullsOrder(std::vector<Token>& t) {
  for (size_t i = 0; i < t.size(); ++i) {
    if (!Is(t[i], "order")) continue;
    size_t by = NextSolid(t, i + 1);
    if (by >= t.size() || !Is(t[by], "by")) continue;
    int depth = t[i].depth;
    size_t k = by + 1;
    while (k <= t.size()) {
      // One item runs to a comma of its level, the end of its query or a clause after it.
      size_t start = k;
      bool hasNulls = false;
      while (k < t.size() && t[k].depth >= depth &&
             !(t[k].depth == depth && (IsPunct(t[k], ",") || IsPunct(t[k], ";") ||
                                       Is(t[k], "limit") || Is(t[k], "offset") || Is(t[k], "for") ||
                                       Is(t[k], "union") || Is(t[k], "except") || Is(t[k], "intersect")))) {
        if (t[k].depth == depth && Is(t[k], "nulls")) hasNulls = true;
        ++k;
      }
      size_t last = PrevSolid(t, k);
      if (!hasNulls && last != std::string::npos && last >= start) {
        const char* placement = Is(t[last], "desc") ? " NULLS LAST" : " NULLS FIRST";
        t.insert(t.begin() + static_cast<long>(last) + 1, Token{Kind::Word, placement, depth});
        ++k;
      }
      if (k < t.size() && t[k].depth == depth && IsPunct(t[k], ",")) {
        ++k;
        continue;
      }
      break;
    }
    i = k;
  }
}

void NumberParameters(std::vector<Token>& t) {
  int n = 0;
  for (auto& tok : t)
    if (IsPunct(tok, "?")) tok.text = "$" + std::to_string(++n);
}

}  // namespace

std::string ToSqlite(const std::string& sql) {
  auto t = Tokenize(sql);
  DropDbo(t);
  IsNullTo(t, "ifnull");
  DateLiterals(t);
  DeleteWithoutFrom(t);
  UpdateFrom(t, "rowid");
  PlusToConcat(t);
  TopToLimit(t);
  return Join(t);
}

std::string ToPostgres(const std::string& sql) {
  auto t = Tokenize(sql);
  DropDbo(t);
  IsNullTo(t, "coalesce");
  DateLiterals(t);
  DeleteWithoutFrom(t);
  UpdateFrom(t, "ctid");
  PlusToConcat(t);
  LikeToILike(t);
  NullsOrder(t);
  TopToLimit(t);
  NumberParameters(t);
  return Join(t);
}

}  // namespace kmd::db::dialect
