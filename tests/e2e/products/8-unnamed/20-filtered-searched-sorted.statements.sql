-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ((("Name" > 'A') AND (("Name" LIKE '%n%')))) ORDER BY "Name", "No_"
