-- Loads traces into PostgreSQL, as often as wanted: lines that are there already stay, and a partition is
-- made for each day that has none. Lines that a crash or a full disk cut short do not end with a brace
-- and are left out on the way:
--
--   grep -h '^{.*}$' traces/*.jsonl* | psql -q -v ON_ERROR_STOP=1 -f docs/fleet/postgresql.sql
--
-- Rows are found by terminal, days come and go as partitions (DROP TABLE calls_20261119), and nothing
-- counts up, refers or fires: a distributed engine that speaks PostgreSQL takes the tables as they are,
-- spread by terminal.

SET client_min_messages = warning;  -- what is there already needs no word
BEGIN;
CREATE TABLE IF NOT EXISTS calls (
    terminal    text NOT NULL,
    day         date NOT NULL,    -- of began, UTC
    session     text NOT NULL,
    sequence    bigint NOT NULL,
    process     bigint NOT NULL,
    began       timestamptz NOT NULL,
    duration    bigint NOT NULL,  -- nanoseconds
    action      text NOT NULL,
    outcome     text NOT NULL,
    result      bigint NOT NULL,
    result_name text NOT NULL,
    reader      text,
    serial      text,
    slot        text,
    atr         text,
    application text,
    instruction text,
    command     text,
    answer      text,
    status      text,
    PRIMARY KEY (terminal, day, session, sequence, process)
) PARTITION BY RANGE (day);
CREATE INDEX IF NOT EXISTS calls_by_duration ON calls (duration);
CREATE INDEX IF NOT EXISTS calls_that_failed ON calls (day) WHERE outcome = 'failure';

CREATE TEMPORARY TABLE incoming (line text) ON COMMIT DROP;
-- Each line as it is: neither quotes nor separators of CSV occur in JSON.
\copy incoming FROM pstdin WITH (FORMAT csv, QUOTE E'\x01', DELIMITER E'\x02')

CREATE TEMPORARY TABLE parsed ON COMMIT DROP AS
SELECT "device.id" AS terminal, ("@timestamp" AT TIME ZONE 'UTC')::date AS day,
       "session.id" AS session, "event.sequence" AS sequence, "process.pid" AS process,
       "@timestamp" AS began, "event.duration" AS duration, "event.action" AS action,
       "event.outcome" AS outcome, "reader.result" AS result,
       "reader.result_name" AS result_name, "reader.name" AS reader, "reader.serial" AS serial,
       "slot.name" AS slot, "card.atr" AS atr, "card.application" AS application,
       "apdu.instruction" AS instruction, "apdu.command" AS command, "apdu.answer" AS answer,
       "apdu.status" AS status
FROM incoming, json_to_record(line::json) AS fields (
    "trace.version" int, "device.id" text, "@timestamp" timestamptz, "session.id" text,
    "event.sequence" bigint, "process.pid" bigint, "event.duration" bigint, "event.action" text,
    "event.outcome" text, "reader.result" bigint, "reader.result_name" text, "reader.name" text,
    "reader.serial" text, "slot.name" text, "card.atr" text, "card.application" text,
    "apdu.instruction" text, "apdu.command" text, "apdu.answer" text, "apdu.status" text)
WHERE "trace.version" = 1;

DO $$
DECLARE
    wanted date;
BEGIN
    FOR wanted IN SELECT DISTINCT day FROM parsed LOOP
        EXECUTE format('CREATE TABLE IF NOT EXISTS %I PARTITION OF calls FOR VALUES FROM (%L) TO (%L)',
                       'calls_' || to_char(wanted, 'YYYYMMDD'), wanted, wanted + 1);
    END LOOP;
END $$;

INSERT INTO calls SELECT * FROM parsed ON CONFLICT DO NOTHING;
COMMIT;
ANALYZE calls;
