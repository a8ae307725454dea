-- The slowest exchanges, in milliseconds.
SELECT duration / 1000000 AS milliseconds,
       terminal,
       session,
       sequence,
       application,
       instruction,
       coalesce(status, result_name) AS ended_with
FROM calls
WHERE action = 'exchange'
ORDER BY duration DESC, terminal, session, sequence
LIMIT 20;
