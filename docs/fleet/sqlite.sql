-- Loads traces into a SQLite database, as often as wanted: lines that are there already stay, broken
-- lines are passed over.
--
--   grep -h '^{.*}$' traces/*.jsonl* | sqlite3 fleet.db '.read docs/fleet/sqlite.sql'

CREATE TABLE IF NOT EXISTS calls (
    terminal    TEXT NOT NULL,
    day         TEXT NOT NULL,     -- of began, UTC
    session     TEXT NOT NULL,
    sequence    INTEGER NOT NULL,
    process     INTEGER NOT NULL,
    began       TEXT NOT NULL,
    duration    INTEGER NOT NULL,  -- nanoseconds
    action      TEXT NOT NULL,
    outcome     TEXT NOT NULL,
    result      INTEGER NOT NULL,
    result_name TEXT NOT NULL,
    reader      TEXT,
    serial      TEXT,
    slot        TEXT,
    atr         TEXT,
    application TEXT,
    instruction TEXT,
    command     TEXT,
    answer      TEXT,
    status      TEXT,
    PRIMARY KEY (terminal, day, session, sequence, process)
) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS calls_by_duration ON calls (duration);
CREATE INDEX IF NOT EXISTS calls_that_failed ON calls (day) WHERE outcome = 'failure';

CREATE TEMPORARY TABLE incoming (line TEXT);
.mode ascii
.separator "\037" "\n"
.import /dev/stdin incoming
.mode list
.separator "|" "\n"

INSERT OR IGNORE INTO calls
SELECT json_extract(line, '$."device.id"'),
       substr(json_extract(line, '$."@timestamp"'), 1, 10),
       json_extract(line, '$."session.id"'),
       json_extract(line, '$."event.sequence"'),
       json_extract(line, '$."process.pid"'),
       json_extract(line, '$."@timestamp"'),
       json_extract(line, '$."event.duration"'),
       json_extract(line, '$."event.action"'),
       json_extract(line, '$."event.outcome"'),
       json_extract(line, '$."reader.result"'),
       json_extract(line, '$."reader.result_name"'),
       json_extract(line, '$."reader.name"'),
       json_extract(line, '$."reader.serial"'),
       json_extract(line, '$."slot.name"'),
       json_extract(line, '$."card.atr"'),
       json_extract(line, '$."card.application"'),
       json_extract(line, '$."apdu.instruction"'),
       json_extract(line, '$."apdu.command"'),
       json_extract(line, '$."apdu.answer"'),
       json_extract(line, '$."apdu.status"')
FROM incoming
WHERE CASE WHEN json_valid(line) THEN json_extract(line, '$."trace.version"') = 1 ELSE 0 END;
DROP TABLE incoming;
