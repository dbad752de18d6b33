-- The activity store schema of version 1 (kept to test migration).
CREATE TABLE Application(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  bundleIdentifier TEXT,
  executableName TEXT,
  title TEXT,
  applescriptTrackingDisabled INTEGER NOT NULL DEFAULT 0,
  pathRoot INTEGER REFERENCES PathComponent(id));
CREATE TABLE PathComponent(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  value TEXT,
  pathLevel INTEGER NOT NULL DEFAULT 0,
  startDateOfChildren REAL,
  stopDateOfChildren REAL,
  cachedIcon BLOB,
  application INTEGER REFERENCES Application(id),
  pathParent INTEGER REFERENCES PathComponent(id));
CREATE TABLE HourlyEvent(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  startDate REAL,
  duration REAL DEFAULT 0,
  lastPathComponent INTEGER REFERENCES PathComponent(id));
CREATE TABLE Event(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  startDate REAL,
  stopDate REAL,
  lastPathComponent INTEGER REFERENCES PathComponent(id));
CREATE INDEX PathComponent_pathParent ON PathComponent(pathParent);
PRAGMA user_version = 1;

-- A store written by the first version: one application with a two-level
-- tree and two hours on the leaf (2024-03-05 10:00 and 11:00 UTC).
INSERT INTO PathComponent(id, value, pathLevel, startDateOfChildren, stopDateOfChildren, application, pathParent)
  VALUES (1, NULL, 0, 1709632800, 1709640000, 1, NULL),
         (2, '/home', 1, 1709632800, 1709640000, NULL, 1),
         (3, '/notes.txt', 2, 1709632800, 1709640000, NULL, 2);
INSERT INTO Application(id, bundleIdentifier, executableName, title, applescriptTrackingDisabled, pathRoot)
  VALUES (1, 'org.example.Editor', 'editor', 'Editor', 1, 1);
INSERT INTO HourlyEvent(id, startDate, duration, lastPathComponent)
  VALUES (1, 1709632800, 3600, 3), (2, 1709636400, 1200, 3);
