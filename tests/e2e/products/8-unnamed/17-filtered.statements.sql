-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ((("City" = 'Oslo' OR "City" = '') AND ("Name" <> '{curly}') AND ("Blocked" = 0))) ORDER BY "No_"
