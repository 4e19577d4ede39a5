-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ((("Created" > {d '2024-01-31'}) AND ("Modified" <= {ts '2024-03-01 12:00:00'}) AND ("Opens" <> {t '00:00:00'}))) ORDER BY "No"
