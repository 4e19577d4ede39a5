SELECT "No" FROM "Customer" WHERE ("No"=2)
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("No">2))) ORDER BY "No"
