-- Where the time goes: each command with the application that it was sent to, in microseconds.
SELECT application,
       instruction,
       count(*) AS times,
       CAST(sum(duration) AS bigint) / count(*) / 1000 AS mean,
       max(duration) / 1000 AS longest
FROM calls
WHERE action = 'exchange'
GROUP BY application, instruction
ORDER BY sum(duration) DESC, application, instruction;
