-- Which cards are refused where, and by which step: a row for each terminal, application, command and
-- status word (or what the reader said, when the card gave none). The end of a directory and a card
-- without one are no refusals.
SELECT terminal,
       application,
       instruction,
       coalesce(status, result_name) AS refused_with,
       count(*) AS times,
       count(DISTINCT session) AS sessions
FROM calls
WHERE outcome = 'failure'
  AND action = 'exchange'
  AND NOT (coalesce(instruction, '') = 'READ RECORD' AND coalesce(status, '') = '6A83')
  AND NOT (coalesce(status, '') = '6A82'
           AND coalesce(command, '') LIKE '00A404000E3_5041592E5359532E4444463031%')
GROUP BY terminal, application, instruction, coalesce(status, result_name)
ORDER BY times DESC, terminal, application, instruction, refused_with
LIMIT 50;
