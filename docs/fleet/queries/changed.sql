-- Terminals that changed since yesterday: the last day that there is, beside the one before. New, silent,
-- another reader; half as slow again or more; refusals up by two in a hundred exchanges or more.
WITH daily AS (
    SELECT terminal,
           day,
           max(reader) AS reader,
           max(serial) AS serial,
           sum(CASE WHEN action = 'exchange' THEN 1 ELSE 0 END) AS exchanges,
           sum(CASE WHEN action = 'exchange' THEN duration ELSE 0 END) AS time,
           sum(CASE WHEN action = 'exchange' AND outcome = 'failure' THEN 1 ELSE 0 END) AS failures
    FROM calls
    WHERE day >= (SELECT max(day) FROM calls WHERE day < (SELECT max(day) FROM calls))
    GROUP BY terminal, day
),
today AS (SELECT * FROM daily WHERE day = (SELECT max(day) FROM calls)),
yesterday AS (SELECT * FROM daily WHERE day < (SELECT max(day) FROM calls)),
compared AS (
    SELECT coalesce(today.terminal, yesterday.terminal) AS terminal,
           CASE WHEN yesterday.terminal IS NULL THEN 'new ' ELSE '' END
           || CASE WHEN today.terminal IS NULL THEN 'silent ' ELSE '' END
           || CASE WHEN coalesce(today.reader <> yesterday.reader, 1 = 0)
                     OR coalesce(today.serial <> yesterday.serial, 1 = 0)
                   THEN 'reader ' ELSE '' END
           || CASE WHEN coalesce(2 * today.time * yesterday.exchanges
                                 >= 3 * yesterday.time * today.exchanges
                                 AND today.exchanges > 0 AND yesterday.exchanges > 0, 1 = 0)
                   THEN 'slower ' ELSE '' END
           || CASE WHEN coalesce(100 * (today.failures * yesterday.exchanges
                                        - yesterday.failures * today.exchanges)
                                 >= 2 * today.exchanges * yesterday.exchanges
                                 AND today.exchanges > 0 AND yesterday.exchanges > 0, 1 = 0)
                   THEN 'refusals ' ELSE '' END AS change
    FROM today FULL JOIN yesterday ON today.terminal = yesterday.terminal
)
SELECT terminal, change FROM compared WHERE change <> '' ORDER BY terminal;
