-- max rows 1
SELECT * FROM (SELECT "No_", "Name", "Balance" FROM "Customer_Card" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (1=2)
-- max rows 3
SELECT "No_","Name","Balance" FROM (SELECT "No_", "Name", "Balance" FROM "Customer_Card" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE ((("Name" <> 'Ann'))) ORDER BY "Name", "No_"
