-- Tables of the frame: id counters, settings, the program and attribute tables, the journal.
CREATE TABLE xt_idcounter (
  tablename TEXT PRIMARY KEY,
  lastid INTEGER NOT NULL DEFAULT 0
);

-- System options (Option) and module parameters (Parameter) by module and key.
CREATE TABLE xt_options (
  module INTEGER NOT NULL,
  key TEXT NOT NULL COLLATE NOCASE,
  value TEXT,
  PRIMARY KEY (module, key)
);
CREATE TABLE xt_parameters (
  module INTEGER NOT NULL,
  key TEXT NOT NULL COLLATE NOCASE,
  value TEXT,
  PRIMARY KEY (module, key)
);

CREATE TABLE xt_objects (
  ProgID INTEGER PRIMARY KEY,
  progName TEXT,
  progCommandLine TEXT,
  ClassName TEXT
);

-- ProgID is compared both with quoted and with bare numbers, which a whole-number column takes.
CREATE TABLE xt_billattribute (
  ProgID INTEGER,
  attribute TEXT,
  code TEXT,
  caption TEXT,
  text TEXT
);

-- Journal lines the host writes for level 1 and 9 reports.
CREATE TABLE xt_journal (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  time TEXT NOT NULL,
  username TEXT,
  form TEXT,
  level INTEGER,
  title TEXT,
  message TEXT
);
