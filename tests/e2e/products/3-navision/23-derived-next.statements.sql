-- max rows 1
SELECT "Name","No_" FROM (SELECT "No_", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE ("No_"='C30000')
-- max rows 3
SELECT "No_","Name","Balance" FROM (SELECT "No_", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE ((("Name" <> 'Ann')) AND (("Name">'Smith & Sons') OR ("Name">='Smith & Sons' AND "No_">'C30000'))) ORDER BY "Name", "No_"
