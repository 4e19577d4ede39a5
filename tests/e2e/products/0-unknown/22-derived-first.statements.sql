-- max rows 1
SELECT * FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (1=2)
-- max rows 3
SELECT "No","Name","Balance" FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE ((("Name" <> 'Ann'))) ORDER BY "Name", "No"
