// The tables of a history.
//
// A run is a row, not a row for each of its cases: what its cases did is a text with a letter for each, and
// how long they took is a list of numbers. Nights of one plan have one line-up, so a question over all
// results reads a few hundred bytes a run. The view `result` shows the same with a row for each case, to
// whoever asks in SQL.
#include "kivctl/history/schema.h"

namespace kivctl::history {
namespace {

constexpr const char *kVersion1 = R"sql(
CREATE TABLE subject (               -- what has results: a case, or a fixture
  id INTEGER PRIMARY KEY,
  kind TEXT NOT NULL,                -- case, set-up, tear-down, worker
  folder TEXT NOT NULL,
  name TEXT NOT NULL,                -- empty unless a case
  description TEXT NOT NULL,
  UNIQUE (folder, name, kind));

CREATE TABLE lineup (                -- which subjects a run has results of
  id INTEGER PRIMARY KEY,
  subjects TEXT NOT NULL UNIQUE);    -- JSON list of their numbers, ascending; one that ran twice is there twice

CREATE TABLE run (
  id INTEGER PRIMARY KEY,
  started INTEGER NOT NULL,          -- nanoseconds since 1970
  identity INTEGER NOT NULL,         -- digest of what it told
  program TEXT NOT NULL,
  lineup INTEGER NOT NULL REFERENCES lineup,
  verdicts TEXT NOT NULL,            -- a letter for each of the line-up
  UNIQUE (started, identity));

CREATE TABLE duration (
  run INTEGER PRIMARY KEY REFERENCES run,
  nanoseconds TEXT NOT NULL);        -- JSON list, one for each of the line-up

CREATE TABLE label (
  run INTEGER NOT NULL REFERENCES run,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (run, name)) WITHOUT ROWID;

CREATE TABLE text (                  -- each once, however many nights tell it
  id INTEGER PRIMARY KEY,
  digest INTEGER NOT NULL,
  content TEXT NOT NULL);
CREATE INDEX text_by_digest ON text (digest);

CREATE TABLE failure (               -- of each result that is neither good nor missing
  run INTEGER NOT NULL REFERENCES run,
  position INTEGER NOT NULL,         -- in the line-up, from 0
  headline INTEGER NOT NULL REFERENCES text,
  details INTEGER NOT NULL REFERENCES text,
  output INTEGER NOT NULL REFERENCES text,
  PRIMARY KEY (run, position)) WITHOUT ROWID;

CREATE VIEW result AS
  SELECT run.id AS run, datetime(run.started / 1000000000, 'unixepoch') AS started,
         subject.kind AS kind, subject.folder AS folder, subject.name AS name,
         CASE substr(run.verdicts, entry.key + 1, 1)
           WHEN 'p' THEN 'passed' WHEN 'f' THEN 'failed' WHEN 'a' THEN 'aborted' WHEN 'c' THEN 'crashed'
           WHEN 't' THEN 'timed out' WHEN 'u' THEN 'unchecked' WHEN 'e' THEN 'reported an error' ELSE 'not run' END
           AS verdict,
         json_extract(duration.nanoseconds, '$[' || entry.key || ']') AS nanoseconds,
         (SELECT content FROM failure JOIN text ON text.id = failure.headline
          WHERE failure.run = run.id AND failure.position = entry.key) AS headline
  FROM run JOIN lineup ON lineup.id = run.lineup JOIN duration ON duration.run = run.id,
       json_each(lineup.subjects) AS entry JOIN subject ON subject.id = entry.value;
)sql";

constexpr const char *kMigrations[] = {kVersion1};

}  // namespace

Migrations schema() {
    return kMigrations;
}

}  // namespace kivctl::history
