-- The host's own stores, read by the context and set by kmd commands or script lines.
-- Rights per user and program (no row: both rights granted), as 1 or 0.
CREATE TABLE xt_rights (
  username TEXT NOT NULL,
  progid INTEGER NOT NULL,
  detailright INTEGER NOT NULL,
  actionright INTEGER NOT NULL,
  PRIMARY KEY (username, progid)
);

-- The state of a named subsystem: the current accounting period of ("system", 0).
CREATE TABLE xt_subsystems (
  name TEXT NOT NULL COLLATE NOCASE,
  idx INTEGER NOT NULL,
  period INTEGER NOT NULL,
  PRIMARY KEY (name, idx)
);

-- Personal settings per user, under an application name, by section and key.
CREATE TABLE xt_usersettings (
  username TEXT NOT NULL,
  app TEXT NOT NULL COLLATE NOCASE,
  section TEXT NOT NULL COLLATE NOCASE,
  key TEXT NOT NULL COLLATE NOCASE,
  value TEXT,
  PRIMARY KEY (username, app, section, key)
);

-- The names of system options (the Name of a setting), by the option's module and key.
CREATE TABLE xt_option_names (
  module INTEGER NOT NULL,
  key TEXT NOT NULL COLLATE NOCASE,
  name TEXT,
  PRIMARY KEY (module, key)
);
