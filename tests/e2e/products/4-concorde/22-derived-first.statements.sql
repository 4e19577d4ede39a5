-- max rows 1
SELECT * FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (1=2)
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),"Balance" FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (((RTRIM(LTRIM("Name")) <> 'Ann'))) ORDER BY RTRIM(LTRIM("Name")), RTRIM(LTRIM("No"))
