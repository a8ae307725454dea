-- What T=0 costs: how many of a terminal's exchanges were answered 6Cxx (the command came again with the
-- right length) and 61xx (the answer was fetched), in hundredths of a percent.
SELECT terminal,
       count(*) AS exchanges,
       10000 * sum(CASE WHEN status LIKE '6C%' THEN 1 ELSE 0 END) / count(*) AS wrong_length,
       10000 * sum(CASE WHEN status LIKE '61%' THEN 1 ELSE 0 END) / count(*) AS more_data
FROM calls
WHERE action = 'exchange'
GROUP BY terminal
ORDER BY wrong_length DESC, more_data DESC, terminal;
